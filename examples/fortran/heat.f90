! Heat in a square plate: a finite-difference solver that writes its steps with checkpoints.
!
! If the program is killed, `mekrecover FILE` saves all steps up to the last checkpoint. An older
! FILE is kept until the new one is complete.
!
! Usage: heat_fortran [FILE]
program heat
    use, intrinsic :: iso_fortran_env, only: error_unit, int32, real32, real64
    use mekapi2
    implicit none

    integer, parameter :: POINTS = 41, CELLS = POINTS - 1, STEPS = 10, ITERATIONS = 50
    real(real64) :: temperature(POINTS, POINTS)
    type(mek_model) :: model
    integer(int32) :: plate
    character(1000) :: path
    character(200) :: message
    integer :: number, iteration, status

    call get_command_argument(1, path)
    if (path == '') path = 'heat.mek'

    ! The program handles this error itself. Without `stat`, an error would print the message and
    ! stop the program, as the calls below do. What the checkpoints have saved is kept.
    call model%save_to(path, overwrite=.true., journal=.true., replace_when_complete=.true., &
        tool_name='heat', tool_version='1.0', stat=status, errmsg=message)
    if (status /= MEK_OK) then
        write (error_unit, '(4a)') 'heat: ', trim(path), ' cannot be written: ', trim(message)
        stop 1
    end if

    call model%add_node(MEK_ROOT_GROUP, 'heat')
    call model%add_node(MEK_SHAPE, 'plate', plate) ! id of its geometry
    call add_mesh()

    temperature = 20 ! a hot square in a cold plate
    temperature(11:20, 11:20) = 100
    call add_step(0)
    do number = 1, STEPS
        do iteration = 1, ITERATIONS
            call iterate()
        end do
        call add_step(number)
    end do
    call model%close() ! the file is complete only now

contains

    !> A mesh of quadrilaterals. Connectivity counts the nodes from 1.
    subroutine add_mesh()
        real(real32) :: coordinates(3, POINTS, POINTS)
        integer(int32) :: corners(4, CELLS, CELLS), first, i, j
        do i = 1, POINTS
            do j = 1, POINTS
                coordinates(:, j, i) = [real(j - 1, real32), real(i - 1, real32), 0.0] / CELLS
            end do
        end do
        do i = 1, CELLS
            do j = 1, CELLS
                first = (i - 1) * POINTS + j
                corners(:, j, i) = [first, first + 1, first + 1 + POINTS, first + POINTS]
            end do
        end do
        call model%add_array(MEK_COORDINATES, reshape(coordinates, [3, POINTS**2]), plate)
        call model%add_array(MEK_CONNECTIVITY_1, reshape(corners, [4, CELLS**2]), plate)
        call model%add_array(MEK_POLYLENGTH_1, [(4, i = 1, CELLS**2)], plate)
    end subroutine

    !> One explicit time step. No heat passes the edges.
    subroutine iterate()
        real(real64), parameter :: FACTOR = 0.2_real64 ! diffusivity x time step / distance squared
        real(real64) :: padded(0:POINTS + 1, 0:POINTS + 1)
        padded(1:POINTS, 1:POINTS) = temperature
        padded(0, :) = padded(1, :)
        padded(POINTS + 1, :) = padded(POINTS, :)
        padded(:, 0) = padded(:, 1)
        padded(:, POINTS + 1) = padded(:, POINTS)
        temperature = temperature + FACTOR * (padded(1:POINTS, :POINTS - 1) + &
            padded(1:POINTS, 2:) + padded(:POINTS - 1, 1:POINTS) + padded(2:, 1:POINTS) - &
            4 * temperature)
    end subroutine

    !> Writes the temperature, rounded to 32 bits, and makes it recoverable.
    subroutine add_step(number)
        integer, intent(in) :: number
        type(mek_step) :: step
        character(10) :: name
        write (name, '(i0)') number
        step = mek_step(name)
        call step%attributes%set('Time', 0.5 * number)
        call model%add_array(MEK_RESULT_A1, reshape(temperature, [POINTS**2]), plate, &
            'Temperature', step)
        call model%checkpoint()
    end subroutine
end program
