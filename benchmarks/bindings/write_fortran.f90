module write_fortran
    use, intrinsic :: iso_c_binding
    use mekapi2
    implicit none

    integer, parameter :: STEP_COUNT = 100000, VALUE_COUNT = 10, NAME_LENGTH = 16

    type, bind(C) :: workload_of_c
        type(c_ptr) :: path
        real(c_float) :: values(VALUE_COUNT)
        type(c_ptr) :: c_names, names
    end type

contains

    integer(c_int) function write_with_fortran(workload) bind(C, name='writeWithFortran')
        type(workload_of_c), intent(in) :: workload
        character(NAME_LENGTH), pointer :: names(:)
        character(kind=c_char), pointer :: path(:)
        type(mek_model) :: model
        type(mek_step) :: step
        integer(c_int32_t) :: part
        integer :: number, status, failures
        failures = 0
        call c_f_pointer(workload%names, names, [STEP_COUNT])
        call c_f_pointer(workload%path, path, [1000])
        call model%save_to(to_string(path), overwrite=.true.)
        call model%add_node(MEK_ROOT_GROUP, 'model')
        call model%add_node(MEK_SHAPE, 'part', part)
        do number = 1, STEP_COUNT
            step%name = names(number)
            call step%attributes%set('Step', number - 1)
            call step%attributes%set('Time', 0.01 * (number - 1))
            call model%add_array(MEK_RESULT_A1, workload%values, part, 'Temperature', step, &
                stat=status)
            if (status /= MEK_OK) failures = failures + 1
        end do
        call model%close()
        write_with_fortran = failures
    end function

    pure function to_string(characters) result(text)
        character(kind=c_char), intent(in) :: characters(:)
        character(:), allocatable :: text
        integer :: i, length
        length = 0
        do while (characters(length + 1) /= c_null_char)
            length = length + 1
        end do
        allocate (character(length) :: text)
        do i = 1, length
            text(i:i) = characters(i)
        end do
    end function
end module
