! Writes the model of same_model.cpp, through the Fortran module.
program same_model
    use, intrinsic :: iso_fortran_env, only: int32, int64, real32, real64
    use mekapi2
    implicit none

    character(*), parameter :: ROOT = 'same model Λ'
    integer, parameter :: POINT_COUNT = 20000
    type(mek_model) :: model
    integer(int32) :: body, skin
    character(1000) :: path

    call get_command_argument(1, path)
    call model%save_to(path, overwrite=.true., tool_name='same model', tool_version='1.2', &
        relink_replaced=.true., journal=.true., replace_when_complete=.true., threads=2, &
        block_size=100000, compression_level=6)
    if (model%temporary_path() == '') error stop 'there is no temporary file'
    call add_tree()
    call add_mesh()
    call model%checkpoint()
    call add_kinds()
    call model%checkpoint(durable=.true.)
    call add_results()
    call model%close()
    call model%destroy()

contains

    function some_attributes() result(attributes)
        type(mek_attributes) :: attributes
        call attributes%set('will be removed', 'value')
        call attributes%clear()
        call attributes%set('unsigned', 4000000000_int64)
        call attributes%set('int', 4294967295_int64)
        call attributes%set('float', 1.5)
        call attributes%set('text', 'été')
        call attributes%set('', '')
        call attributes%set('float', 1.5_real64)
    end function

    subroutine add_tree()
        character(*), parameter :: PART = '/' // ROOT // '/part/'
        character(40) :: paths(3), others(2)
        type(mek_attributes) :: attributes(2), side
        type(mek_properties) :: placement, material
        integer(int32) :: added(3), id
        paths = [character(40) :: PART, PART // 'body', PART // 'skin']
        others = [character(40) :: '|' // ROOT // '|second|', '|' // ROOT // '|part|body']
        attributes(1) = some_attributes()
        call model%add_node(MEK_FLAGGED_ROOT_GROUP, ROOT, attributes=attributes(1))
        call model%add_assembly_components(paths, added)
        call model%add_assembly_components(others, added(:2), '|', attributes)

        call placement%set(MEK_TRANSLATION, [1.0, 2.0, 3.0])
        call placement%set(MEK_ROTATION, [0.0, 0.0, 1.0, 0.5])
        call placement%set(MEK_SCALE, [2.0, 2.0, 4.0])
        call side%set('side', 'left')
        call model%set_current_node_id(1)
        call model%add_node(MEK_GROUP, 'placed', id)
        call model%set_node_data(id, placement, side)

        call material%set(MEK_DIFFUSE_COLOR, [0.25, 0.5, 0.75])
        call material%set(MEK_SPECULAR_COLOR, [1.0, 0.5, 0.25, 0.125])
        call material%set(MEK_EMISSIVE_COLOR, [0.125, 0.0, 0.0])
        call material%set(MEK_AMBIENT_COLOR, [0.5, 0.5, 0.5])
        call material%set(MEK_TRANSPARENCY, 0.75)
        call material%set(MEK_TRANSPARENCY, 0.25)
        call material%set(MEK_AMBIENT_INTENSITY, 0.5)
        call material%set(MEK_SHININESS, 0.5)
        call material%set(MEK_MATERIAL_FLAG, .true.)
        call model%move_to_parent_node()
        call model%add_node(MEK_SHAPE, 'coloured', id)
        call model%set_node_data(id, material)
        call model%get_node_id(PART // 'body/body', body)
        call model%get_node_id([character(20) :: ROOT, 'part', 'skin'], skin)
        skin = skin + 1 ! the geometry of the shape
        if (added(2) /= body) error stop 'the ids are not in the order of the paths'
    end subroutine

    !> Some arrays are sections with gaps, in rank 1 and 2 and against the order of memory.
    subroutine add_mesh()
        real(real32), allocatable :: points(:, :)
        integer(int32), allocatable :: pairs(:, :)
        integer :: i, j
        allocate (points(4, 2 * POINT_COUNT), pairs(2, POINT_COUNT))
        do i = 1, POINT_COUNT
            points(4:2:-1, 2 * i) = [(0.5 * (i - 1) + 0.25 * (j - 1), j = 1, 3)]
            pairs(2, i) = i
        end do
        call model%add_array(MEK_COORDINATES, points(4:2:-1, 2::2), [body, skin])
        call model%add_array(MEK_CONNECTIVITY_2, reshape(pairs(2, :80), [8, 10]), body)
        call model%add_array(MEK_POLYLENGTH_2, [(8, i = 1, 10)], body)
        call model%add_array(MEK_NODE_IDS, pairs(2, :), [body, skin], base=1)
        call model%add_array(MEK_RESULT_A3, points(2:4, 3:2), body, 'no rows, so no variable')
    end subroutine

    subroutine add_kinds()
        integer, parameter :: WIDTHS(0:30) = [1, 1, 1, 1, 1, 1, 1, 1, 1, 3, 1, 3, 6, 6, 1, 3, &
            6, 6, 1, 3, 6, 6, 1, 1, 3, 6, 6, 1, 1, 3, 6]
        type(mek_step) :: steps(2)
        real(real32) :: values(6, 3)
        integer(int32) :: cells(3, 1)
        character(10) :: name
        integer :: kind, i, j
        steps(1)%name = 'first'
        steps(2) = mek_step('second')
        call steps(2)%attributes%set('Time', 0.5)
        values = reshape([((real(j, real32) + 0.125 * i, i = 0, 5), j = 0, 2)], [6, 3])
        cells(:, 1) = [10, 9, 8]
        do kind = 0, 30
            write (name, '(a,i0)') 'kind ', kind
            select case (kind)
            case (MEK_CONNECTIVITY_1)
                call model%add_array(kind, cells(3:1:-1, :), skin, name, steps=steps)
            case (:MEK_CONNECTIVITY_0, MEK_CONNECTIVITY_2:8, MEK_NODE_IDS, MEK_ELEMENT_IDS)
                call model%add_array(kind, [7, 8, 9], skin, name, steps=steps, base=0)
            case (MEK_RESULT_A1)
                call model%add_array(kind, values(1, :), skin, name, steps=steps)
            case default
                call model%add_array(kind, values(:WIDTHS(kind), :), skin, name, steps=steps)
            end select
        end do
    end subroutine

    subroutine add_results()
        real(real64) :: shape_of_mode(4, 4), narrowed(3)
        type(mek_attributes) :: vibration
        integer :: out_of_range
        shape_of_mode = 0
        shape_of_mode(4:1:-1, 2:4:2) = reshape(real([1, 2, 3, 0, 4, 5, 6, 0], real64), [4, 2])
        call vibration%set('Category', 'Vibration')
        call vibration%set('Frequency', 12.5)
        call model%add_array(MEK_RESULT_A3, shape_of_mode(4:2:-1, 2:4:2), body, 'mode', &
            mek_step('mode 1'), attributes=vibration)
        narrowed = [0.1_real64, 0.2_real64, real(1e30_real32, real64)]
        call model%add_array(MEK_RESULT_A1, narrowed, [body, skin], 'T', mek_step('1'), &
            out_of_range=out_of_range)
        if (out_of_range /= 0) error stop 'a value is out of range'
        call model%add_array(MEK_RESULT_A1, narrowed, skin, 'T', mek_step('1'))
        call model%add_array(MEK_RESULT_B1, [2000000000, 2000000001], skin, 'counts', mek_step('1'))
    end subroutine
end program
