! Tests of the Fortran module that the model in all languages does not make.
! Usage: fortran_test FOLDER [ROUNDS], or fortran_test stop
program fortran_test
    use, intrinsic :: iso_c_binding
    use, intrinsic :: iso_fortran_env, only: int32, int64, real32, real64
    use mekapi2
    implicit none

    type, bind(C) :: memory_usage
        integer(c_size_t) :: arena, ordblks, smblks, hblks, hblkhd, usmblks, fsmblks, uordblks, &
            fordblks, keepcost
    end type

    interface
        function mallinfo2() result(usage) bind(C)
            import
            type(memory_usage) :: usage
        end function
    end interface

    character(1000) :: folder, rounds_given
    integer :: failures = 0

    call get_command_argument(1, folder)
    if (folder == 'stop') call stop_at_error()
    call report_errors()
    call refuse_values()
    call recover_and_finalise()
    call use_the_same_memory()
    if (failures > 0) error stop 'there are failures'

contains

    subroutine expect(condition, what)
        logical, intent(in) :: condition
        character(*), intent(in) :: what
        if (condition) return
        failures = failures + 1
        print '(2a)', 'FAILED: ', what
    end subroutine

    function file(name)
        character(*), intent(in) :: name
        character(:), allocatable :: file
        file = trim(folder) // '/' // name
    end function

    subroutine open_shape(model, path, id)
        type(mek_model), intent(inout) :: model
        character(*), intent(in) :: path
        integer(int32), intent(out) :: id
        call model%save_to(path, overwrite=.true., journal=path /= '')
        call model%add_node(MEK_ROOT_GROUP, 'root')
        call model%add_node(MEK_SHAPE, 'shape', id)
    end subroutine

    subroutine stop_at_error()
        type(mek_model) :: model
        character(80) :: message
        call model%add_node(MEK_ROOT_GROUP, 'root', errmsg=message) ! without stat
        print '(a)', 'not stopped'
    end subroutine

    subroutine report_errors()
        type(mek_model) :: model
        type(mek_error) :: error
        character(80) :: message
        integer :: status
        integer(int32) :: id, ids(1)
        message = 'kept'
        call model%close(stat=status, errmsg=message)
        call expect(status == MEK_OK .and. message == 'kept', 'close without a write cycle')
        call model%add_node(MEK_ROOT_GROUP, 'root', id, stat=status, errmsg=message)
        call expect(mek_status_name(status) == 'MEK_INVALID_STATE' .and. id == 0, 'no open file')
        call expect(message == 'InvalidObjectState: File not open.', message)
        call model%last_error(error)
        call expect(error%status == MEK_INVALID_STATE .and. error%line > 0, 'place of the error')
        call expect(index(error%file, 'tyr/') == 1, error%file)
        call model%save_to(file('none/model'), stat=status)
        call model%last_error(error)
        call expect(status == MEK_MISCELLANEOUS .and. error%system_error == 2, 'missing folder')
        call model%close()
        call model%save_to('', threads=-1, stat=status, errmsg=message)
        call expect(status == MEK_INVALID_ARGUMENTS, message)
        call open_shape(model, '', id)
        call model%set_current_node_id(9, stat=status)
        call expect(status == MEK_OUT_OF_BOUNDS, 'an unknown id')
        call model%move_to_parent_node(stat=status)
        call expect(status == MEK_OK, 'an error of the call before')
        call model%get_node_id('/root/none', id)
        call expect(id == 0, 'a node that does not exist')
        call model%add_assembly_components(['/root/a', '/root/b'], ids, stat=status)
        call expect(status == MEK_MISUSE, 'ids of another size')
        call model%save_to('', compression_level=10, stat=status)
        call expect(status == MEK_INVALID_STATE, 'an open write cycle')
        call model%close()
        call model%save_to('', compression_level=10, stat=status)
        call expect(status == MEK_INVALID_ARGUMENTS, 'a compression level')
        call mek_recover(file('none'), file('output'), stat=status)
        call expect(status == MEK_FILE_OPEN, 'recovery without a journal')
        call mek_last_error(error)
        call expect(error%status == MEK_FILE_OPEN .and. error%system_error == 2, error%message)
        call model%destroy()
        call model%last_error(error)
        call expect(error%status == MEK_OK .and. error%message == '', error%message)
    end subroutine

    subroutine refuse_values()
        type(mek_model) :: model
        type(mek_attributes) :: attributes
        character(120) :: message
        integer(int32) :: id
        integer :: status, count
        type(mek_step) :: none(0)
        call attributes%set('revision', -1, stat=status, errmsg=message)
        call expect(status == MEK_VALUE_OUT_OF_RANGE, message)
        call attributes%set('revision', 4294967296_int64, stat=status)
        call expect(status == MEK_VALUE_OUT_OF_RANGE, 'an attribute of more than 32 bits')
        call attributes%set('time', -1e39_real64, stat=status, errmsg=message)
        call expect(status == MEK_VALUE_OUT_OF_RANGE, message)
        call open_shape(model, file('refused'), id)
        call model%add_array(MEK_CONNECTIVITY_0, [1, 0], id, stat=status, errmsg=message)
        call expect(status == MEK_VALUE_OUT_OF_RANGE, message)
        call model%add_array(MEK_NODE_IDS, [0, -1], id, stat=status, errmsg=message)
        call expect(status == MEK_VALUE_OUT_OF_RANGE, message)
        call model%add_array(MEK_RESULT_A1, [1e300_real64], id, 'T', stat=status, errmsg=message)
        call expect(status == MEK_VALUE_OUT_OF_RANGE, message)
        call model%add_array(MEK_RESULT_A1, [1.0], id, 'T', steps=none, stat=status)
        call expect(status == MEK_MISUSE, 'no steps')
        call model%add_array(MEK_RESULT_A1, [1e300_real64, 1d0], id, 'T', mek_step('1'), &
            out_of_range=count)
        call expect(count == 1, 'number of values out of range')
        call model%close()
    end subroutine

    subroutine recover_and_finalise()
        type(mek_recovery_report) :: report
        call write_and_recover(report)
        call expect(report%saved%arrays == 1 .and. report%saved%bytes == 8, 'saved by a recovery')
        call expect(report%lost%calls == 0 .and. report%reason == '', 'lost by a recovery')
    end subroutine

    !> The finaliser completes the file "finalised", which the test compares with "recovered". It
    !> does not free the model of another object, of which the copy has the components.
    subroutine write_and_recover(report)
        type(mek_recovery_report), intent(out) :: report
        type(mek_model) :: models(1)
        type(mek_model), allocatable :: copy
        integer(int32) :: id
        call open_shape(models(1), file('finalised'), id)
        call models(1)%add_array(MEK_RESULT_A1, [1.0, 2.0], id, 'T', mek_step('1'))
        call models(1)%checkpoint()
        allocate (copy, source=models(1))
        call copy%close()
        call mek_recover(file('finalised'), file('recovered'), .true., report)
    end subroutine

    subroutine use_the_same_memory()
        type(mek_model) :: model
        type(mek_step) :: step
        type(mek_step) :: steps(2)
        type(mek_properties) :: properties
        type(memory_usage) :: before, after
        real(real32) :: coordinates(3, 2)
        integer(int32) :: id, root, round, rounds, call_number
        integer :: status
        coordinates = 1
        rounds = 500
        call get_command_argument(2, rounds_given)
        if (rounds_given /= '') read (rounds_given, *) rounds
        do round = 1, rounds
            call open_shape(model, file('many'), id)
            do call_number = 1, 100
                call step%attributes%clear()
                call step%attributes%set('Time', 0.5)
                call step%attributes%set('a key of a string', 'a string that needs an allocation')
                step%name = 'a step with a long name'
                steps(1) = step
                steps(2) = mek_step('another step', step%attributes)
                call properties%set(MEK_SCALE, [1.0, 1.0, 1.0])
                call model%add_array(MEK_COORDINATES, coordinates, id, 'points', &
                    mek_step('a step with a long name', step%attributes))
                call model%add_array(MEK_COORDINATES, coordinates, [id], steps=steps)
                call model%add_array(MEK_RESULT_A1, [1d0, 2d0], id, 'doubles')
                call model%add_array(MEK_NODE_IDS, [1, 2], id)
                call model%set_node_data(1, properties, step%attributes)
                call model%get_node_id('/root', root)
                call model%get_node_id(['root '], root)
                call model%set_current_node_id(9, stat=status)
                call use_another_model()
            end do
            call model%close()
            if (round == min(100, rounds)) before = mallinfo2()
        end do
        after = mallinfo2()
        call expect(after%uordblks == before%uordblks, 'a million calls use more memory')
    end subroutine

    subroutine use_another_model()
        type(mek_model) :: model
        integer :: status
        call model%set_current_node_id(1, stat=status)
        call expect(status == MEK_INVALID_STATE, "a model without a file")
    end subroutine
end program
