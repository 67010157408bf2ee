!> The Fortran interface of MekApi2: writes simulation models into one compact file.
!>
!> Errors: with `stat=`, an error sets it to a number `MEK_...`, and `errmsg=`, if present, to the
!> message; without `stat=`, an error prints the message and stops the program. Without an error,
!> `stat` is 0 and `errmsg` keeps its value. After an error the model can be used, closed or
!> destroyed.
!>
!> Strings are UTF-8. Trailing blanks are removed, as in the name of a file in `open`.
!>
!> Threads: one thread at a time may use a model. Different objects may be used from different
!> threads at the same time.
module mekapi2
    use, intrinsic :: iso_c_binding
    use, intrinsic :: iso_fortran_env, only: error_unit, int32, int64, real32, real64
    use mekapi2_c
    implicit none
    private

    public :: mek_attributes, mek_properties, mek_step, mek_model, mek_error
    public :: mek_recovery_amount, mek_recovery_report
    public :: mek_recover, mek_version, mek_status_name, mek_last_error

    !> Values of `stat`; docs/c.md describes them. `MEK_ERROR_OF_OTHER_KIND` is `MEK_ERROR` of C.
    integer, parameter, public :: MEK_OK = 0, MEK_ERROR_OF_OTHER_KIND = 1, MEK_MISCELLANEOUS = 2, &
        MEK_INVALID_ARGUMENTS = 3, MEK_FILE_OPEN = 5, MEK_FILE_WRITE = 7, MEK_OUT_OF_BOUNDS = 11, &
        MEK_OVERFLOW = 12, MEK_KEY_NOT_FOUND = 14, MEK_BLOCK_MEMORY = 16, MEK_INVALID_STATE = 17, &
        MEK_WRONG_TYPE = 19, MEK_NOT_YET_IMPLEMENTED = 20, MEK_MISUSE = 100, MEK_NO_MEMORY = 101, &
        MEK_VALUE_OUT_OF_RANGE = 102, MEK_CALLBACK_FAILED = 103

    !> What `add_node` adds.
    integer, parameter, public :: MEK_FLAGGED_ROOT_GROUP = 1, MEK_ROOT_GROUP = 2, MEK_GROUP = 3, &
        MEK_SHAPE = 4

    !> Keys of `mek_properties`. The first three are for groups, the others for shapes.
    integer, parameter, public :: MEK_TRANSLATION = 0, MEK_ROTATION = 1, MEK_SCALE = 2, &
        MEK_DIFFUSE_COLOR = 3, MEK_SPECULAR_COLOR = 4, MEK_EMISSIVE_COLOR = 5, &
        MEK_AMBIENT_COLOR = 6, MEK_TRANSPARENCY = 7, MEK_AMBIENT_INTENSITY = 8, MEK_SHININESS = 9, &
        MEK_MATERIAL_FLAG = 10

    !> Types of arrays; docs/c.md describes them.
    integer, parameter, public :: MEK_CONNECTIVITY_0 = 0, MEK_CONNECTIVITY_1 = 1, &
        MEK_CONNECTIVITY_2 = 2, MEK_POLYLENGTH_0 = 3, MEK_POLYLENGTH_1 = 4, MEK_POLYLENGTH_2 = 5, &
        MEK_PART_ELEMENTS_0 = 6, MEK_PART_ELEMENTS_1 = 7, MEK_PART_ELEMENTS_2 = 8, &
        MEK_COORDINATES = 9, MEK_RESULT_A1 = 10, MEK_RESULT_A3 = 11, MEK_RESULT_A6 = 12, &
        MEK_RESULT_A6B = 13, MEK_RESULT_B1 = 14, MEK_RESULT_B3 = 15, MEK_RESULT_B6 = 16, &
        MEK_RESULT_B6B = 17, MEK_RESULT_C1 = 18, MEK_RESULT_C3 = 19, MEK_RESULT_C6 = 20, &
        MEK_RESULT_C6B = 21, MEK_RESULT_D1 = 22, MEK_RESULT_D1B = 23, MEK_RESULT_D3 = 24, &
        MEK_RESULT_D6 = 25, MEK_RESULT_D6B = 26, MEK_NODE_IDS = 27, MEK_ELEMENT_IDS = 28, &
        MEK_DISPLACEMENT_3 = 29, MEK_DISPLACEMENT_6 = 30

    enum, bind(C)
        enumerator :: OF_REAL, OF_UNSIGNED, OF_STRING, OF_REALS, OF_LOGICAL
    end enum

    integer(int64), parameter :: LARGEST_UNSIGNED = 4294967295_int64

    type :: entry
        character(kind=c_char, len=:), allocatable :: key !< with the zero character
        integer :: kind = OF_UNSIGNED
        real(real32) :: real_value = 0
        integer(int32) :: bits = 0 !< of the unsigned number
        character(kind=c_char, len=:), allocatable :: text !< with the zero character
    end type

    !> Named values that describe a group or an array. A copy is a deep copy.
    type :: mek_attributes
        private
        type(entry), allocatable :: entries(:)
        integer :: count = 0
    contains
        procedure, private :: attributes_set_real32
        procedure, private :: attributes_set_real64
        procedure, private :: attributes_set_int32
        procedure, private :: attributes_set_int64
        procedure, private :: attributes_set_string
        !> set(key, value, stat, errmsg)
        !>
        !> Stores a value under a key, and replaces a value of the same key. `value` is a `real32`,
        !> a `real64` (rounded to 32 bits), an `int32` or `int64` from 0 to 4294967295, or a string.
        !> Other integers, and finite values that are too large for a 32-bit real, give
        !> `MEK_VALUE_OUT_OF_RANGE`. The file has the first 256 bytes of a string.
        generic :: set => attributes_set_real32, attributes_set_real64, attributes_set_int32, &
            attributes_set_int64, attributes_set_string
        !> clear()
        !>
        !> Removes all attributes.
        procedure :: clear => attributes_clear
    end type

    type :: property
        integer :: key = 0
        integer :: kind = OF_REAL
        real(real32), allocatable :: numbers(:)
        logical :: flag = .false.
    end type

    !> The placement of a group, or the material of a shape. A copy is a deep copy.
    type :: mek_properties
        private
        type(property), allocatable :: list(:)
    contains
        procedure, private :: properties_set_real
        procedure, private :: properties_set_reals
        procedure, private :: properties_set_logical
        !> set(key, value)
        !>
        !> Stores a value under a key, and replaces a value of the same key. `value` is a `real32`,
        !> an array of `real32` or a logical. `set_node_data` checks whether it fits the key.
        generic :: set => properties_set_real, properties_set_reals, properties_set_logical
    end type

    !> A time step, load step or mode to which an array belongs. `mek_step(name)` and
    !> `mek_step(name, attributes)` make one. Assign the elements of an array of steps one by one:
    !> gfortran 12 does not free the memory of functions in an array constructor.
    type :: mek_step
        character(:), allocatable :: name !< becomes part of the name of the variable
        type(mek_attributes) :: attributes !< added to those of the array
    end type

    interface mek_step
        module procedure new_step
    end interface

    !> The result of the last call with a model, or of a call without one.
    type :: mek_error
        integer :: status = MEK_OK !< `MEK_OK` if it succeeded
        character(:), allocatable :: class_name !< such as "InvalidObjectState"
        character(:), allocatable :: message
        character(:), allocatable :: function !< location in the library; may be empty
        character(:), allocatable :: file !< location in the library; may be empty
        integer :: line = 0 !< in `file`
        integer :: system_error = 0 !< `errno` of a failed operation on a file, or 0
    end type

    type :: string
        character(kind=c_char, len=:), allocatable :: text
    end type

    !> Attributes in the form of C. They are kept for the next call: if it has the same keys, as in
    !> a loop over the steps, only the values are set.
    type :: c_attributes
        type(c_ptr) :: handle = c_null_ptr
        type(string), allocatable :: keys(:)
        integer :: count = 0
    end type

    !> The optional arguments of `add_array` in the form of C. Owns what the options point to. Its
    !> memory is kept for the next call.
    type :: request
        type(c_array_options) :: options
        character(kind=c_char, len=:), allocatable :: name
        type(c_step), allocatable :: steps(:)
        type(string), allocatable :: step_names(:)
        type(c_attributes), allocatable :: of_steps(:)
        type(c_attributes) :: of_array
    end type

    !> Writes models, one write cycle after the other. A write cycle starts with `save_to` and ends
    !> with `close`. The finaliser ends an open write cycle and discards its errors, like `destroy`.
    !> The language does not finalise variables of the main program, variables of modules, and
    !> variables with `save`. The assignment of a model in use stops the program. That of an array
    !> of models is not checked, and loses their write cycles. A copy that the language makes
    !> without an assignment, as in `allocate (b, source=a)`, is a model without a write cycle.
    type :: mek_model
        private
        type(c_ptr) :: handle = c_null_ptr
        integer(c_intptr_t) :: owner = 0 !< address of the object that created the model of C
        type(request) :: request
    contains
        !> save_to(path, overwrite, tool_name, tool_version, relink_replaced, journal,
        !>     replace_when_complete, threads, parallel_for, parallel_context, block_size,
        !>     compression_level, stat, errmsg)
        !>
        !> Starts a write cycle: creates the file. With an empty path there is no file, and arrays
        !> are refused. All but `path` are optional:
        !>
        !> - `overwrite`: an existing file is replaced; otherwise it is an error.
        !> - `tool_name`, `tool_version`: of the writing program.
        !> - `relink_replaced`: the first variable of a call becomes the owner of the array, also if
        !>   it was a link.
        !> - `journal`: allows `checkpoint`, and recovery after the program was killed.
        !> - `replace_when_complete`: the file has a temporary name until `close`.
        !> - `threads`: number of threads that compress; 0: one per processor.
        !> - `parallel_for`, `parallel_context`: a `bind(C)` function of type `mek_parallel_for` of
        !>   docs/c.md, as a `c_funptr`, and its context, as a `c_ptr`.
        !> - `block_size`: bytes of arrays after which a block ends. 0: the value of the environment
        !>   variable MEKWRITER_DEFAULT_BLOCK_SIZE, or 200 MiB.
        !> - `compression_level`: 1 (fast) to 9 (small); the default is 6.
        !>
        !> Errors: `MEK_INVALID_STATE`, `MEK_INVALID_ARGUMENTS`, `MEK_FILE_OPEN`, `MEK_FILE_WRITE`,
        !> `MEK_MISCELLANEOUS`. After the last three, call `close` before the next `save_to`.
        procedure :: save_to
        !> close(stat, errmsg)
        !>
        !> Ends the write cycle: writes all data that is still in memory and the index, and closes
        !> the file. After an error the file is unfinished, and a second call ends the write cycle
        !> without writing. Errors: `MEK_FILE_WRITE`, `MEK_FILE_OPEN`, `MEK_OVERFLOW`,
        !> `MEK_MISCELLANEOUS`, `MEK_BLOCK_MEMORY`.
        procedure :: close => close_model
        !> checkpoint(durable, stat, errmsg)
        !>
        !> Makes everything so far recoverable, however the process ends; with `durable=.true.` also
        !> after a power failure. Needs `journal`. Errors: `MEK_INVALID_STATE`, `MEK_FILE_WRITE`,
        !> `MEK_MISCELLANEOUS`, `MEK_BLOCK_MEMORY`.
        procedure :: checkpoint
        !> temporary_path()
        !>
        !> Function: the path of the temporary file of `replace_when_complete`, or an empty string.
        !> Call it from one thread at a time, even for different models: gfortran 12 keeps the
        !> length of such a result in a static variable.
        procedure :: temporary_path
        !> add_node(kind, name, id, attributes, stat, errmsg)
        !>
        !> Adds a node below the current node, or the root if there is none yet. It becomes the
        !> current node. `id`, optional, is the new id; for a shape, that of its geometry, to which
        !> arrays are added. Errors: `MEK_INVALID_STATE`, `MEK_INVALID_ARGUMENTS`,
        !> `MEK_KEY_NOT_FOUND`.
        procedure :: add_node
        !> set_current_node_id(id, stat, errmsg)
        !>
        !> Makes a node the current node. Errors: `MEK_INVALID_STATE`, `MEK_OUT_OF_BOUNDS`.
        procedure :: set_current_node_id
        !> move_to_parent_node(stat, errmsg)
        !>
        !> Makes the parent of the current node the current node. Does nothing at the root. Errors:
        !> `MEK_INVALID_STATE`, `MEK_KEY_NOT_FOUND`.
        procedure :: move_to_parent_node
        procedure, private :: get_node_id_of_path
        procedure, private :: get_node_id_of_names
        !> get_node_id(path, id, separator, stat, errmsg)
        !>
        !> Finds a node by its path "/root/group/shape", or by the array of the names in its path.
        !> `id` is 0 if there is no such node. `separator`, for a path only, is "/" by default.
        !> Afterwards the root is the current node. Error: `MEK_INVALID_STATE`.
        generic :: get_node_id => get_node_id_of_path, get_node_id_of_names
        !> set_node_data(id, properties, attributes, stat, errmsg)
        !>
        !> Sets the placement or attributes of a group, or the material of a shape. Errors:
        !> `MEK_INVALID_STATE`, `MEK_OUT_OF_BOUNDS`, `MEK_INVALID_ARGUMENTS`, `MEK_WRONG_TYPE`.
        procedure :: set_node_data
        !> add_assembly_components(paths, ids, separator, attributes, stat, errmsg)
        !>
        !> Adds the groups and shapes of an array of paths; nodes that exist are reused. A path that
        !> ends in the separator is a group, otherwise its last name is a shape. `ids`, of the same
        !> size, are the ids of the groups and of the geometries of the shapes. `attributes`, of the
        !> same size, are those of the last group of each path. Errors: `MEK_INVALID_STATE`,
        !> `MEK_INVALID_ARGUMENTS`, `MEK_NOT_YET_IMPLEMENTED`; `MEK_MISUSE` if a size differs.
        procedure :: add_assembly_components
        procedure, private :: add_real32_1, add_real32_2, add_real64_1, add_real64_2
        procedure, private :: add_int32_1, add_int32_2
        procedure, private :: add_real32_1_id, add_real32_2_id, add_real64_1_id, add_real64_2_id
        procedure, private :: add_int32_1_id, add_int32_2_id
        !> add_array(kind, values, ids, name, step, steps, attributes, base, out_of_range, stat,
        !>     errmsg)
        !>
        !> Writes an array to the file and attaches it as a named variable to geometries, for steps.
        !> All but the first three arguments are optional.
        !>
        !> - `values` is an array of `real32`, `real64` or `int32`. An array of rank 1 has one value
        !>   for each row. In an array of rank 2, `values(:, i)` is row i of the file:
        !>   `coordinates(3, n)` is n rows of 3. The file has 32-bit reals and unsigned integers.
        !>   The library reads arrays and sections without a copy. A connectivity of n elements
        !>   with k nodes each can have the shape (k, n). Only a section of such an array is
        !>   copied.
        !> - `ids` is the id of a geometry, or an array of them.
        !> - `name` of the variable; results have no default name.
        !> - `step` is one step, `steps` an array of steps; without both, the array belongs to no
        !>   step, like a mesh.
        !> - `base` is subtracted from integers. A value that is negative afterwards gives
        !>   `MEK_VALUE_OUT_OF_RANGE`. The default is 1 for a connectivity, which counts the nodes
        !>   from 1 in Fortran and from 0 in the file. It is 0 for all other types: node and element
        !>   ids are stored unchanged.
        !> - `out_of_range`, for `real64` only, is the number of finite values that are too large
        !>   for a 32-bit real. They are written as infinite. Without `out_of_range`, such a value
        !>   gives `MEK_VALUE_OUT_OF_RANGE`.
        !>
        !> More errors: `MEK_INVALID_STATE`, `MEK_INVALID_ARGUMENTS`, `MEK_OVERFLOW`,
        !> `MEK_KEY_NOT_FOUND`, `MEK_FILE_WRITE`, `MEK_MISCELLANEOUS`, `MEK_BLOCK_MEMORY`, and
        !> `MEK_MISUSE` if `steps` is empty. Pass the arguments after `step` by keyword.
        generic :: add_array => add_real32_1, add_real32_2, add_real64_1, add_real64_2, &
            add_int32_1, add_int32_2, add_real32_1_id, add_real32_2_id, add_real64_1_id, &
            add_real64_2_id, add_int32_1_id, add_int32_2_id
        !> last_error(error)
        !>
        !> Describes the result of the last call of the library with this model; `error` is a
        !> `mek_error`, with empty strings before the first call and after `destroy`. If
        !> the size of `ids` or `attributes` is not that of `paths`, or `threads` or `block_size`
        !> is negative, the library is not called: only `stat` and `errmsg` have the error.
        procedure :: last_error
        !> destroy()
        !>
        !> Ends an open write cycle, discards its errors and frees the memory of the model. The
        !> model can be used again.
        procedure :: destroy => destroy_model
        procedure, private :: refuse_copy
        generic :: assignment(=) => refuse_copy
        final :: finalise_model
    end type

    !> A part of what a journal records.
    type :: mek_recovery_amount
        integer(int64) :: calls = 0 !< calls that changed the model
        integer(int64) :: arrays = 0 !< calls that added an array
        integer(int64) :: steps = 0 !< different step names; in `lost`, those without a saved array
        integer(int64) :: bytes = 0 !< of the arrays, before compression
    end type

    !> The result of a recovery.
    type :: mek_recovery_report
        type(mek_recovery_amount) :: saved !< in the output
        type(mek_recovery_amount) :: lost !< recorded, but not saved
        character(:), allocatable :: reason !< why something is lost; empty if nothing is
    end type

    !> Where the values of an array are. Strides are in bytes; 0: there is one row or column.
    type :: memory
        type(c_ptr) :: first = c_null_ptr
        integer(c_size_t) :: rows = 0
        integer(c_size_t) :: columns = 1
        integer(c_intptr_t) :: row_stride = 0
        integer(c_intptr_t) :: column_stride = 0
    end type

    interface memory_of
        module procedure memory_of_real32_1, memory_of_real32_2, memory_of_real64_1
        module procedure memory_of_real64_2, memory_of_int32_1, memory_of_int32_2
    end interface

    enum, bind(C)
        enumerator :: REAL32_VALUES, REAL64_VALUES, INT32_VALUES
    end enum

contains

    !> mek_version()
    !>
    !> Function: the version of the library, 10000 x major + 100 x minor + patch.
    integer function mek_version()
        mek_version = c_version()
    end function

    !> mek_status_name(status)
    !>
    !> Function: the name of a value of `stat`, such as "MEK_FILE_OPEN". One thread at a time may
    !> call it: gfortran 12 keeps the length of such a result in a static variable.
    function mek_status_name(status) result(name)
        integer, intent(in) :: status
        character(:), allocatable :: name
        call to_fortran(c_status_name(status), name)
    end function

    !> mek_last_error(error)
    !>
    !> Describes the result of the last call of this thread without a model, such as `mek_recover`.
    subroutine mek_last_error(error)
        type(mek_error), intent(out) :: error
        error = error_of(c_null_ptr)
    end subroutine

    !> mek_recover(unfinished, output, overwrite, report, on_temporary_file, context, stat, errmsg)
    !>
    !> Makes a complete file from an unfinished one and its journal. `on_temporary_file` and
    !> `context` are a `c_funptr` and a `c_ptr` for the callback of docs/c.md. Only the first two
    !> arguments are required. Errors: `MEK_FILE_OPEN`, `MEK_INVALID_ARGUMENTS`,
    !> `MEK_MISCELLANEOUS`, `MEK_FILE_WRITE`.
    subroutine mek_recover(unfinished, output, overwrite, report, on_temporary_file, context, &
            stat, errmsg)
        character(*), intent(in) :: unfinished, output
        logical, intent(in), optional :: overwrite
        type(mek_recovery_report), intent(out), optional :: report
        type(c_funptr), intent(in), optional :: on_temporary_file
        type(c_ptr), intent(in), optional :: context
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(c_recovery_report) :: found
        type(c_funptr) :: observer
        type(c_ptr) :: observer_context
        integer(c_int) :: status
        integer :: i
        observer = c_null_funptr
        observer_context = c_null_ptr
        if (present(on_temporary_file)) observer = on_temporary_file
        if (present(context)) observer_context = context
        found%size = c_sizeof(found)
        status = c_recover(to_c(unfinished), to_c(output), flag(overwrite), observer, &
            observer_context, found)
        if (present(report)) report%reason = ''
        if (status == MEK_OK .and. present(report)) then
            report%saved = amount_of(found%saved)
            report%lost = amount_of(found%lost)
            do i = 1, size(found%reason)
                if (found%reason(i) == c_null_char) exit
                report%reason = report%reason // found%reason(i)
            end do
        end if
        call finish(status, c_null_ptr, stat, errmsg)
    end subroutine

    pure function amount_of(found) result(amount)
        type(c_recovery_amount), intent(in) :: found
        type(mek_recovery_amount) :: amount
        amount = mek_recovery_amount(found%calls, found%arrays, found%steps, found%bytes)
    end function

    ! Errors

    !> Ends a call: gives the status to the caller, or stops the program.
    subroutine finish(status, handle, stat, errmsg)
        integer(c_int), intent(in) :: status
        type(c_ptr), intent(in) :: handle
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        if (present(stat)) stat = status
        if (status /= MEK_OK) call report_error(error_of(handle), status, stat, errmsg)
    end subroutine

    subroutine report_error(error, status, stat, errmsg)
        type(mek_error), intent(in) :: error
        integer(c_int), intent(in) :: status
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call refuse(status, error%class_name // ': ' // error%message, stat, errmsg)
    end subroutine

    !> Reports an error to the caller, or stops the program.
    !> @param message with the class of the error
    subroutine refuse(status, message, stat, errmsg)
        integer, intent(in) :: status
        character(*), intent(in) :: message
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        if (present(errmsg)) errmsg = message
        if (present(stat)) then
            stat = status
            return
        end if
        write (error_unit, '(2a)') 'mekapi2: ', message
        error stop 1
    end subroutine

    function error_of(handle) result(error)
        type(c_ptr), intent(in) :: handle
        type(mek_error) :: error
        type(c_error), pointer :: found
        call c_f_pointer(c_last_error(handle), found)
        error%status = found%status
        call to_fortran(found%class_name, error%class_name)
        call to_fortran(found%message, error%message)
        call to_fortran(found%function, error%function)
        call to_fortran(found%file, error%file)
        error%line = found%line
        error%system_error = found%system_error
    end function

    ! Conversions. No function of a result with a deferred length is called here: gfortran 12 keeps
    ! the length in a static variable, which all threads would share.

    pure function to_c(text) result(converted)
        character(*), intent(in) :: text
        character(kind=c_char, len=len_trim(text) + 1) :: converted
        converted = trim(text) // c_null_char
    end function

    !> The same into memory that is used again if it is large enough.
    subroutine copy_to_c(text, copy)
        character(*), intent(in) :: text
        character(kind=c_char, len=:), allocatable, intent(inout) :: copy
        integer :: length
        length = trimmed_length(text)
        if (allocated(copy)) then
            if (len(copy) <= length) deallocate (copy)
        end if
        if (.not. allocated(copy)) allocate (character(kind=c_char, len=2 * length + 1) :: copy)
        copy(:length) = text(:length)
        copy(length + 1:length + 1) = c_null_char
    end subroutine

    subroutine to_fortran(text, converted)
        type(c_ptr), intent(in) :: text
        character(:), allocatable, intent(out) :: converted
        character(kind=c_char), pointer :: characters(:)
        integer :: i, length
        length = int(c_strlen(text))
        call c_f_pointer(text, characters, [length])
        allocate (character(length) :: converted)
        do i = 1, length
            converted(i:i) = characters(i)
        end do
    end subroutine

    pure integer(c_int) function flag(given)
        logical, intent(in), optional :: given
        flag = 0
        if (present(given)) flag = merge(1, 0, given)
    end function

    type(c_ptr) function address_of(text)
        character(kind=c_char, len=*), intent(in), target :: text
        address_of = c_loc(text(1:1))
    end function

    ! Attributes, properties and steps

    subroutine attributes_clear(this)
        class(mek_attributes), intent(inout) :: this
        this%count = 0
    end subroutine

    !> Number of the entry with this key, which is added if there is none.
    integer function entry_of(this, key) result(number)
        class(mek_attributes), intent(inout) :: this
        character(*), intent(in) :: key
        type(entry), allocatable :: larger(:)
        integer :: length
        length = trimmed_length(key)
        do number = 1, this%count
            associate (known => this%entries(number)%key)
                if (is_same(known(:len(known) - 1), key(:length))) return
            end associate
        end do
        if (.not. allocated(this%entries)) allocate (this%entries(4))
        if (number > size(this%entries)) then
            allocate (larger(2 * size(this%entries)))
            larger(:this%count) = this%entries(:this%count)
            call move_alloc(larger, this%entries)
        end if
        this%count = number
        this%entries(number)%key = to_c(key)
    end function

    subroutine attributes_set_real32(this, key, value, stat, errmsg)
        class(mek_attributes), intent(inout) :: this
        character(*), intent(in) :: key
        real(real32), intent(in) :: value
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        integer :: number
        number = entry_of(this, key)
        this%entries(number)%kind = OF_REAL
        this%entries(number)%real_value = value
        call finish(MEK_OK, c_null_ptr, stat, errmsg)
    end subroutine

    subroutine attributes_set_real64(this, key, value, stat, errmsg)
        class(mek_attributes), intent(inout) :: this
        character(*), intent(in) :: key
        real(real64), intent(in) :: value
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        ! the smallest number that is rounded to an infinite one
        real(real64), parameter :: limit = real(huge(1.0_real32), real64) + 2.0_real64**103
        character(32) :: number_text
        if (abs(value) >= limit .and. abs(value) <= huge(value)) then
            write (number_text, '(es24.16e3)') value
            call refuse_attribute(key, number_text, 'in the range of a 32-bit real', stat, errmsg)
            return
        end if
        call this%attributes_set_real32(key, real(value, real32), stat)
    end subroutine

    subroutine attributes_set_int32(this, key, value, stat, errmsg)
        class(mek_attributes), intent(inout) :: this
        character(*), intent(in) :: key
        integer(int32), intent(in) :: value
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call this%attributes_set_int64(key, int(value, int64), stat, errmsg)
    end subroutine

    subroutine attributes_set_int64(this, key, value, stat, errmsg)
        class(mek_attributes), intent(inout) :: this
        character(*), intent(in) :: key
        integer(int64), intent(in) :: value
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        character(32) :: number_text
        integer :: number
        if (value < 0 .or. value > LARGEST_UNSIGNED) then
            write (number_text, '(i0)') value
            call refuse_attribute(key, number_text, 'a number from 0 to 4294967295', stat, errmsg)
            return
        end if
        number = entry_of(this, key)
        this%entries(number)%kind = OF_UNSIGNED
        this%entries(number)%bits = to_bits(value)
        if (present(stat)) stat = MEK_OK
    end subroutine

    subroutine attributes_set_string(this, key, value, stat, errmsg)
        class(mek_attributes), intent(inout) :: this
        character(*), intent(in) :: key, value
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        integer :: number
        number = entry_of(this, key)
        this%entries(number)%kind = OF_STRING
        this%entries(number)%text = to_c(value)
        call finish(MEK_OK, c_null_ptr, stat, errmsg)
    end subroutine

    subroutine refuse_attribute(key, value, expected, stat, errmsg)
        character(*), intent(in) :: key, value, expected
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call refuse(MEK_VALUE_OUT_OF_RANGE, 'ValueOutOfRange: attribute "' // trim(key) // &
            '": ' // trim(adjustl(value)) // ' is not ' // expected, stat, errmsg)
    end subroutine

    !> The `int32` with the bits of an unsigned number.
    pure integer(int32) function to_bits(value)
        integer(int64), intent(in) :: value
        integer(int64), parameter :: half = 2147483648_int64
        to_bits = int(merge(value - 2 * half, value, value >= half), int32)
    end function

    !> Makes an object of C, which the caller destroys. There is none if there are no attributes.
    integer(c_int) function make_attributes(this, handle) result(status)
        class(mek_attributes), intent(in) :: this
        type(c_ptr), intent(inout) :: handle
        status = MEK_OK
        handle = c_null_ptr
        if (this%count == 0) return
        status = c_attributes_create(handle)
        if (status == MEK_OK) status = set_entries(this, handle)
    end function

    integer(c_int) function set_entries(this, handle) result(status)
        class(mek_attributes), intent(in) :: this
        type(c_ptr), intent(in) :: handle
        integer :: i
        status = MEK_OK
        do i = 1, this%count
            if (status /= MEK_OK) return
            associate (each => this%entries(i))
                select case (each%kind)
                case (OF_REAL)
                    status = c_attributes_set_f32(handle, each%key, each%real_value)
                case (OF_UNSIGNED)
                    status = c_attributes_set_u32(handle, each%key, each%bits)
                case default
                    status = c_attributes_set_string(handle, each%key, each%text)
                end select
            end associate
        end do
    end function

    !> Gives an object of C the attributes.
    !> @param handle null if there are none
    integer(c_int) function fill(this, attributes, handle) result(status)
        type(c_attributes), intent(inout) :: this
        class(mek_attributes), intent(in) :: attributes
        type(c_ptr), intent(out) :: handle
        integer :: i
        status = MEK_OK
        handle = c_null_ptr
        if (attributes%count == 0) return
        if (.not. has_keys(this, attributes)) then
            call c_attributes_destroy(this%handle)
            this%handle = c_null_ptr
            this%count = 0
            status = c_attributes_create(this%handle)
            if (status /= MEK_OK) return
            if (allocated(this%keys)) deallocate (this%keys)
            allocate (this%keys(attributes%count))
            do i = 1, attributes%count
                this%keys(i)%text = attributes%entries(i)%key
            end do
            this%count = attributes%count
        end if
        handle = this%handle
        status = set_entries(attributes, handle)
    end function

    logical function has_keys(this, attributes)
        type(c_attributes), intent(in) :: this
        class(mek_attributes), intent(in) :: attributes
        integer :: i
        has_keys = this%count == attributes%count
        do i = 1, this%count
            if (.not. has_keys) return
            has_keys = is_same(this%keys(i)%text, attributes%entries(i)%key)
        end do
    end function

    !> The same as `len_trim`. Names are short: a loop is faster than a call of the runtime library.
    pure integer function trimmed_length(text) result(length)
        character(*), intent(in) :: text
        do length = len(text), 1, -1
            if (iachar(text(length:length)) /= iachar(' ')) return
        end do
    end function

    !> Whether two strings are equal, with the same length. Faster for the same reason.
    pure logical function is_same(first, second)
        character(kind=c_char, len=*), intent(in) :: first, second
        integer :: i
        is_same = len(first) == len(second)
        do i = 1, len(first)
            if (.not. is_same) return
            is_same = first(i:i) == second(i:i)
        end do
    end function

    subroutine set_property(this, added)
        class(mek_properties), intent(inout) :: this
        type(property), intent(in) :: added
        integer :: i
        if (.not. allocated(this%list)) allocate (this%list(0))
        do i = 1, size(this%list)
            if (this%list(i)%key == added%key) then
                this%list(i) = added
                return
            end if
        end do
        this%list = [this%list, added]
    end subroutine

    subroutine properties_set_real(this, key, value)
        class(mek_properties), intent(inout) :: this
        integer, intent(in) :: key
        real(real32), intent(in) :: value
        type(property) :: added
        added%key = key
        added%kind = OF_REAL
        added%numbers = [value]
        call set_property(this, added)
    end subroutine

    subroutine properties_set_reals(this, key, value)
        class(mek_properties), intent(inout) :: this
        integer, intent(in) :: key
        real(real32), intent(in) :: value(:)
        type(property) :: added
        added%key = key
        added%kind = OF_REALS
        added%numbers = value
        call set_property(this, added)
    end subroutine

    subroutine properties_set_logical(this, key, value)
        class(mek_properties), intent(inout) :: this
        integer, intent(in) :: key
        logical, intent(in) :: value
        type(property) :: added
        added%key = key
        added%kind = OF_LOGICAL
        added%flag = value
        call set_property(this, added)
    end subroutine

    integer(c_int) function make_properties(this, handle) result(status)
        class(mek_properties), intent(in) :: this
        type(c_ptr), intent(inout) :: handle
        integer :: i
        status = c_properties_create(handle)
        if (.not. allocated(this%list)) return
        do i = 1, size(this%list)
            if (status /= MEK_OK) return
            associate (each => this%list(i))
                select case (each%kind)
                case (OF_REAL)
                    status = c_properties_set_f32(handle, each%key, each%numbers(1))
                case (OF_REALS)
                    status = c_properties_set_f32_array(handle, each%key, each%numbers, &
                        size(each%numbers, kind=c_size_t))
                case default
                    status = c_properties_set_bool(handle, each%key, flag(each%flag))
                end select
            end associate
        end do
    end function

    function new_step(name, attributes) result(step)
        character(*), intent(in) :: name
        type(mek_attributes), intent(in), optional :: attributes
        type(mek_step) :: step
        step%name = name
        if (present(attributes)) step%attributes = attributes
    end function

    ! Model

    !> Creates the model of C on its first use.
    integer(c_int) function open_handle(this) result(status)
        class(mek_model), intent(inout), target :: this
        status = MEK_OK
        call forget_model_of_other(this)
        if (c_associated(this%handle)) return
        status = c_model_create(this%handle)
        this%owner = transfer(c_loc(this%handle), this%owner)
    end function

    !> The language copies objects without a call of this module, as in `allocate (b, source=a)`.
    !> Such a copy must not use the model of the other object, or free it.
    subroutine forget_model_of_other(this)
        class(mek_model), intent(inout) :: this
        if (is_owner(this)) return
        this%handle = c_null_ptr
        call forget(this%request)
    end subroutine

    !> Frees the memory of Fortran.
    subroutine forget(this)
        type(request), intent(out) :: this
        this%options = c_array_options()
    end subroutine

    logical function is_owner(this)
        class(mek_model), intent(in), target :: this
        is_owner = this%owner == transfer(c_loc(this%handle), this%owner)
    end function

    subroutine save_to(this, path, overwrite, tool_name, tool_version, relink_replaced, journal, &
            replace_when_complete, threads, parallel_for, parallel_context, block_size, &
            compression_level, stat, errmsg)
        class(mek_model), intent(inout) :: this
        character(*), intent(in) :: path
        logical, intent(in), optional :: overwrite, relink_replaced, journal, replace_when_complete
        character(*), intent(in), optional :: tool_name, tool_version
        integer, intent(in), optional :: threads, block_size, compression_level
        type(c_funptr), intent(in), optional :: parallel_for
        type(c_ptr), intent(in), optional :: parallel_context
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(c_ptr) :: options
        integer(c_int) :: status
        options = c_null_ptr
        if (is_negative(threads) .or. is_negative(block_size)) then
            call refuse(MEK_INVALID_ARGUMENTS, &
                'InvalidArguments: threads or block_size is negative', stat, errmsg)
            return
        end if
        status = open_handle(this)
        if (status == MEK_OK) status = c_options_create(options)
        if (status == MEK_OK) call set_options()
        if (status == MEK_OK) then
            status = c_save_to(this%handle, to_c(path), options)
            call c_options_destroy(options)
            call finish(status, this%handle, stat, errmsg)
        else ! of a call without a model
            call c_options_destroy(options)
            call finish(status, c_null_ptr, stat, errmsg)
        end if

    contains

        subroutine set_options()
            character(:), allocatable :: name, version
            type(c_ptr) :: context
            call join(c_options_set_overwrite(options, flag(overwrite)))
            call join(c_options_set_relink_replaced(options, flag(relink_replaced)))
            call join(c_options_set_journal(options, flag(journal)))
            call join(c_options_set_replace_when_complete(options, flag(replace_when_complete)))
            name = ''
            version = ''
            if (present(tool_name)) name = tool_name
            if (present(tool_version)) version = tool_version
            call join(c_options_set_tool(options, to_c(name), to_c(version)))
            if (present(threads)) call join(c_options_set_threads(options, threads))
            context = c_null_ptr
            if (present(parallel_context)) context = parallel_context
            if (present(parallel_for)) then
                call join(c_options_set_parallel_for(options, parallel_for, context))
            end if
            if (present(block_size)) call join(c_options_set_block_size(options, block_size))
            if (present(compression_level)) then
                call join(c_options_set_compression_level(options, compression_level))
            end if
        end subroutine

        !> Keeps the first error.
        subroutine join(next)
            integer(c_int), intent(in) :: next
            if (status == MEK_OK) status = next
        end subroutine
    end subroutine

    pure logical function is_negative(given)
        integer, intent(in), optional :: given
        is_negative = .false.
        if (present(given)) is_negative = given < 0
    end function

    subroutine close_model(this, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        if (present(stat)) stat = MEK_OK
        call forget_model_of_other(this)
        if (.not. c_associated(this%handle)) return ! no write cycle is open
        call finish(c_close(this%handle), this%handle, stat, errmsg)
    end subroutine

    subroutine checkpoint(this, durable, stat, errmsg)
        class(mek_model), intent(inout) :: this
        logical, intent(in), optional :: durable
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        integer(c_int) :: status
        status = open_handle(this)
        if (status == MEK_OK) status = c_checkpoint(this%handle, flag(durable))
        call finish(status, this%handle, stat, errmsg)
    end subroutine

    function temporary_path(this) result(path)
        class(mek_model), intent(inout) :: this
        character(:), allocatable :: path
        type(c_ptr) :: found
        found = c_null_ptr
        path = ''
        call forget_model_of_other(this)
        if (.not. c_associated(this%handle)) return
        if (c_temporary_path(this%handle, found) == MEK_OK) call to_fortran(found, path)
    end function

    subroutine add_node(this, kind, name, id, attributes, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        character(*), intent(in) :: name
        integer(int32), intent(out), optional :: id
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(c_ptr) :: handle
        integer(c_int) :: status
        integer(c_int32_t) :: added
        handle = c_null_ptr
        added = 0
        status = open_handle(this)
        if (status == MEK_OK .and. present(attributes)) status = make_attributes(attributes, handle)
        if (status == MEK_OK) then
            status = c_add_node(this%handle, kind, to_c(name), handle, added)
            call c_attributes_destroy(handle)
            call finish(status, this%handle, stat, errmsg)
        else
            call c_attributes_destroy(handle)
            call finish(status, c_null_ptr, stat, errmsg)
        end if
        if (present(id)) id = added
    end subroutine

    subroutine set_current_node_id(this, id, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer(int32), intent(in) :: id
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        integer(c_int) :: status
        status = open_handle(this)
        if (status == MEK_OK) status = c_set_current_node_id(this%handle, id)
        call finish(status, this%handle, stat, errmsg)
    end subroutine

    subroutine move_to_parent_node(this, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        integer(c_int) :: status
        status = open_handle(this)
        if (status == MEK_OK) status = c_move_to_parent_node(this%handle)
        call finish(status, this%handle, stat, errmsg)
    end subroutine

    subroutine get_node_id_of_path(this, path, id, separator, stat, errmsg)
        class(mek_model), intent(inout) :: this
        character(*), intent(in) :: path
        integer(int32), intent(out) :: id
        character(*), intent(in), optional :: separator
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        character(kind=c_char, len=:), allocatable :: used
        integer(c_int) :: status
        id = 0
        call separator_to_c(separator, used)
        status = open_handle(this)
        if (status == MEK_OK) status = c_get_node_id(this%handle, to_c(path), used, id)
        call finish(status, this%handle, stat, errmsg)
    end subroutine

    subroutine get_node_id_of_names(this, names, id, stat, errmsg)
        class(mek_model), intent(inout) :: this
        character(*), intent(in) :: names(:)
        integer(int32), intent(out) :: id
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(string), target :: copies(size(names))
        integer(c_int) :: status
        id = 0
        status = open_handle(this)
        if (status == MEK_OK) then
            status = c_get_node_id_of_names(this%handle, addresses_of(names, copies), &
                size(names, kind=c_size_t), id)
        end if
        call finish(status, this%handle, stat, errmsg)
    end subroutine

    pure subroutine separator_to_c(separator, converted)
        character(*), intent(in), optional :: separator
        character(kind=c_char, len=:), allocatable, intent(out) :: converted
        converted = '/' // c_null_char
        if (present(separator)) converted = to_c(separator)
    end subroutine

    !> Copies strings in the form of C, and returns their addresses.
    function addresses_of(names, copies) result(addresses)
        character(*), intent(in) :: names(:)
        type(string), intent(inout), target :: copies(:)
        type(c_ptr) :: addresses(size(names))
        integer :: i
        do i = 1, size(names)
            copies(i)%text = to_c(names(i))
            addresses(i) = address_of(copies(i)%text)
        end do
    end function

    subroutine set_node_data(this, id, properties, attributes, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer(int32), intent(in) :: id
        type(mek_properties), intent(in), optional :: properties
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(c_ptr) :: of_node, named, reporter
        integer(c_int) :: status
        of_node = c_null_ptr
        named = c_null_ptr
        reporter = c_null_ptr
        status = open_handle(this)
        if (status == MEK_OK .and. present(properties)) then
            status = make_properties(properties, of_node)
        end if
        if (status == MEK_OK .and. present(attributes)) status = make_attributes(attributes, named)
        if (status == MEK_OK) then
            reporter = this%handle
            status = c_set_node_data(this%handle, id, of_node, named)
        end if
        call c_properties_destroy(of_node)
        call c_attributes_destroy(named)
        call finish(status, reporter, stat, errmsg)
    end subroutine

    subroutine add_assembly_components(this, paths, ids, separator, attributes, stat, errmsg)
        class(mek_model), intent(inout) :: this
        character(*), intent(in) :: paths(:)
        integer(int32), intent(out), optional :: ids(:)
        character(*), intent(in), optional :: separator
        type(mek_attributes), intent(in), optional :: attributes(:)
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(string), target :: copies(size(paths))
        type(c_ptr) :: handles(size(paths)), reporter
        character(kind=c_char, len=:), allocatable :: used
        integer(c_int32_t) :: added(size(paths))
        integer(c_int) :: status
        integer :: i
        if (.not. has_size(ids, size(paths)) .or. .not. fits(attributes)) then
            call refuse(MEK_MISUSE, 'Misuse: ids or attributes have another size than paths', &
                stat, errmsg)
            return
        end if
        call separator_to_c(separator, used)
        added = 0
        handles = c_null_ptr
        reporter = c_null_ptr
        status = open_handle(this)
        do i = 1, size(paths)
            if (present(attributes) .and. status == MEK_OK) then
                status = make_attributes(attributes(i), handles(i))
            end if
        end do
        if (status == MEK_OK) then
            reporter = this%handle
            if (present(attributes)) then
                status = c_add_components_with_attributes(this%handle, &
                    addresses_of(paths, copies), handles, size(paths, kind=c_size_t), used, added)
            else
                status = c_add_assembly_components(this%handle, addresses_of(paths, copies), &
                    size(paths, kind=c_size_t), used, added)
            end if
        end if
        do i = 1, size(paths)
            call c_attributes_destroy(handles(i))
        end do
        if (present(ids)) ids = added
        call finish(status, reporter, stat, errmsg)

    contains

        pure logical function fits(given)
            type(mek_attributes), intent(in), optional :: given(:)
            fits = .true.
            if (present(given)) fits = size(given) == size(paths)
        end function
    end subroutine

    pure logical function has_size(given, expected)
        integer(int32), intent(in), optional :: given(:)
        integer, intent(in) :: expected
        has_size = .true.
        if (present(given)) has_size = size(given) == expected
    end function

    ! Arrays

    !> Converts the optional arguments of `add_array`.
    integer(c_int) function fill_request(this, name, step, steps, attributes) result(status)
        type(request), intent(inout), target :: this
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer :: i, count
        this%options = c_array_options()
        this%options%size = c_sizeof(this%options)
        status = MEK_OK
        if (present(name)) then
            call copy_to_c(name, this%name)
            this%options%name = address_of(this%name)
        end if
        if (present(attributes)) then
            status = fill(this%of_array, attributes, this%options%attributes)
        end if
        if (.not. present(step) .and. .not. present(steps)) return
        count = merge(1, 0, present(step))
        if (present(steps)) count = count + size(steps)
        call reserve_steps(this, max(count, 1)) ! also without a step the address is not null
        if (present(step)) call set_step(1, step)
        do i = 1, count - merge(1, 0, present(step))
            call set_step(count - size(steps) + i, steps(i))
        end do
        this%options%steps = c_loc(this%steps)
        this%options%step_count = count

    contains

        subroutine set_step(number, added)
            integer, intent(in) :: number
            type(mek_step), intent(in) :: added
            this%steps(number)%name = c_null_ptr
            if (allocated(added%name)) then
                call copy_to_c(added%name, this%step_names(number)%text)
                this%steps(number)%name = address_of(this%step_names(number)%text)
            end if
            if (status /= MEK_OK) return
            status = fill(this%of_steps(number), added%attributes, this%steps(number)%attributes)
        end subroutine
    end function

    subroutine reserve_steps(this, count)
        type(request), intent(inout) :: this
        integer, intent(in) :: count
        if (allocated(this%steps)) then
            if (size(this%steps) >= count) return
        end if
        call free_steps(this)
        allocate (this%steps(count), this%step_names(count), this%of_steps(count))
    end subroutine

    subroutine free_steps(this)
        type(request), intent(inout) :: this
        integer :: i
        if (.not. allocated(this%steps)) return
        do i = 1, size(this%of_steps)
            call c_attributes_destroy(this%of_steps(i)%handle)
        end do
        deallocate (this%steps, this%step_names, this%of_steps)
    end subroutine

    !> Of a connectivity the default is 1.
    pure integer function base_or_default(base, kind)
        integer, intent(in), optional :: base
        integer, intent(in) :: kind
        base_or_default = merge(1, 0, is_connectivity(kind))
        if (present(base)) base_or_default = base
    end function

    pure logical function is_connectivity(kind)
        integer, intent(in) :: kind
        is_connectivity = kind >= MEK_CONNECTIVITY_0 .and. kind <= MEK_CONNECTIVITY_2
    end function

    !> Distance in bytes.
    integer(c_intptr_t) function distance(from, to)
        type(c_ptr), intent(in) :: from, to
        distance = transfer(to, distance) - transfer(from, distance)
    end function

    type(memory) function memory_of_real32_1(values) result(where)
        real(real32), intent(in), target :: values(:)
        where%rows = size(values, kind=c_size_t)
        if (size(values) > 0) where%first = c_loc(values(1))
        if (size(values) > 1) where%row_stride = distance(where%first, c_loc(values(2)))
    end function

    type(memory) function memory_of_real32_2(values) result(where)
        real(real32), intent(in), target :: values(:, :)
        where%rows = size(values, 2, c_size_t)
        where%columns = size(values, 1, c_size_t)
        if (size(values) == 0) return
        where%first = c_loc(values(1, 1))
        if (where%columns > 1) then
            where%column_stride = distance(where%first, c_loc(values(2, 1)))
        end if
        if (where%rows > 1) where%row_stride = distance(where%first, c_loc(values(1, 2)))
    end function

    type(memory) function memory_of_real64_1(values) result(where)
        real(real64), intent(in), target :: values(:)
        where%rows = size(values, kind=c_size_t)
        if (size(values) > 0) where%first = c_loc(values(1))
        if (size(values) > 1) where%row_stride = distance(where%first, c_loc(values(2)))
    end function

    type(memory) function memory_of_real64_2(values) result(where)
        real(real64), intent(in), target :: values(:, :)
        where%rows = size(values, 2, c_size_t)
        where%columns = size(values, 1, c_size_t)
        if (size(values) == 0) return
        where%first = c_loc(values(1, 1))
        if (where%columns > 1) then
            where%column_stride = distance(where%first, c_loc(values(2, 1)))
        end if
        if (where%rows > 1) where%row_stride = distance(where%first, c_loc(values(1, 2)))
    end function

    type(memory) function memory_of_int32_1(values) result(where)
        integer(int32), intent(in), target :: values(:)
        where%rows = size(values, kind=c_size_t)
        if (size(values) > 0) where%first = c_loc(values(1))
        if (size(values) > 1) where%row_stride = distance(where%first, c_loc(values(2)))
    end function

    type(memory) function memory_of_int32_2(values) result(where)
        integer(int32), intent(in), target :: values(:, :)
        where%rows = size(values, 2, c_size_t)
        where%columns = size(values, 1, c_size_t)
        if (size(values) == 0) return
        where%first = c_loc(values(1, 1))
        if (where%columns > 1) then
            where%column_stride = distance(where%first, c_loc(values(2, 1)))
        end if
        if (where%rows > 1) where%row_stride = distance(where%first, c_loc(values(1, 2)))
    end function

    !> Adds an array of any type and rank.
    subroutine add_values(this, kind, element, where, ids, name, step, steps, attributes, base, &
            out_of_range, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind, element
        type(memory), intent(in) :: where
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(in), optional :: base
        integer, intent(out), optional :: out_of_range, stat
        character(*), intent(inout), optional :: errmsg
        type(c_ptr) :: reporter, counter
        integer(c_size_t), target :: count
        integer(c_size_t) :: id_count
        integer(c_int) :: status
        count = 0
        counter = c_null_ptr
        if (present(out_of_range)) counter = c_loc(count)
        id_count = size(ids, kind=c_size_t)
        reporter = c_null_ptr
        status = open_handle(this)
        if (status == MEK_OK) status = fill_request(this%request, name, step, steps, attributes)
        this%request%options%row_stride = where%row_stride
        this%request%options%column_stride = where%column_stride
        if (status == MEK_OK) then
            reporter = this%handle
            select case (element)
            case (REAL32_VALUES)
                status = c_add_array_f32(this%handle, kind, where%first, where%rows, &
                    where%columns, ids, id_count, this%request%options)
            case (REAL64_VALUES)
                status = c_add_array_f64(this%handle, kind, where%first, where%rows, &
                    where%columns, ids, id_count, this%request%options, counter)
            case default
                this%request%options%base = base_or_default(base, kind)
                status = c_add_array_i32(this%handle, kind, where%first, where%rows, &
                    where%columns, ids, id_count, this%request%options)
            end select
        end if
        if (present(out_of_range)) out_of_range = int(count)
        call finish(status, reporter, stat, errmsg)
    end subroutine

    !> Whether the values of an `int32` array of rank 2 have no gaps between them.
    pure logical function has_no_gaps(where)
        type(memory), intent(in) :: where
        integer(c_intptr_t), parameter :: bytes = 4
        has_no_gaps = where%column_stride == bytes .and. &
            (where%rows <= 1 .or. where%row_stride == bytes * int(where%columns, c_intptr_t))
    end function

    subroutine add_real32_1(this, kind, values, ids, name, step, steps, attributes, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real32), intent(in), target :: values(:)
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL32_VALUES, memory_of(values), ids, name, step, steps, &
            attributes, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real32_2(this, kind, values, ids, name, step, steps, attributes, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real32), intent(in), target :: values(:, :)
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL32_VALUES, memory_of(values), ids, name, step, steps, &
            attributes, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real64_1(this, kind, values, ids, name, step, steps, attributes, &
            out_of_range, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real64), intent(in), target :: values(:)
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: out_of_range, stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL64_VALUES, memory_of(values), ids, name, step, steps, &
            attributes, out_of_range=out_of_range, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real64_2(this, kind, values, ids, name, step, steps, attributes, &
            out_of_range, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real64), intent(in), target :: values(:, :)
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: out_of_range, stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL64_VALUES, memory_of(values), ids, name, step, steps, &
            attributes, out_of_range=out_of_range, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_int32_1(this, kind, values, ids, name, step, steps, attributes, base, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        integer(int32), intent(in), target :: values(:)
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(in), optional :: base
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, INT32_VALUES, memory_of(values), ids, name, step, steps, &
            attributes, base=base, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_int32_2(this, kind, values, ids, name, step, steps, attributes, base, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        integer(int32), intent(in), target :: values(:, :)
        integer(int32), intent(in) :: ids(:)
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(in), optional :: base
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        type(memory) :: where
        where = memory_of(values)
        if (is_connectivity(kind) .and. where%columns > 1) then
            if (.not. has_no_gaps(where)) then
                call add_int32_1(this, kind, reshape(values, [size(values, kind=int64)]), ids, &
                    name, step, steps, attributes, base, stat, errmsg)
                return
            end if
            where%rows = where%rows * where%columns
            where%columns = 1
            where%row_stride = where%column_stride
        end if
        call add_values(this, kind, INT32_VALUES, where, ids, name, step, steps, &
            attributes, base=base, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real32_1_id(this, kind, values, ids, name, step, steps, attributes, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real32), intent(in), target :: values(:)
        integer(int32), intent(in) :: ids
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL32_VALUES, memory_of(values), [ids], name, step, steps, &
            attributes, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real32_2_id(this, kind, values, ids, name, step, steps, attributes, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real32), intent(in), target :: values(:, :)
        integer(int32), intent(in) :: ids
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL32_VALUES, memory_of(values), [ids], name, step, steps, &
            attributes, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real64_1_id(this, kind, values, ids, name, step, steps, attributes, &
            out_of_range, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real64), intent(in), target :: values(:)
        integer(int32), intent(in) :: ids
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: out_of_range, stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL64_VALUES, memory_of(values), [ids], name, step, steps, &
            attributes, out_of_range=out_of_range, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_real64_2_id(this, kind, values, ids, name, step, steps, attributes, &
            out_of_range, stat, errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        real(real64), intent(in), target :: values(:, :)
        integer(int32), intent(in) :: ids
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(out), optional :: out_of_range, stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, REAL64_VALUES, memory_of(values), [ids], name, step, steps, &
            attributes, out_of_range=out_of_range, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_int32_1_id(this, kind, values, ids, name, step, steps, attributes, base, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        integer(int32), intent(in), target :: values(:)
        integer(int32), intent(in) :: ids
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(in), optional :: base
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_values(this, kind, INT32_VALUES, memory_of(values), [ids], name, step, steps, &
            attributes, base=base, stat=stat, errmsg=errmsg)
    end subroutine

    subroutine add_int32_2_id(this, kind, values, ids, name, step, steps, attributes, base, stat, &
            errmsg)
        class(mek_model), intent(inout) :: this
        integer, intent(in) :: kind
        integer(int32), intent(in), target :: values(:, :)
        integer(int32), intent(in) :: ids
        character(*), intent(in), optional :: name
        type(mek_step), intent(in), optional :: step, steps(:)
        type(mek_attributes), intent(in), optional :: attributes
        integer, intent(in), optional :: base
        integer, intent(out), optional :: stat
        character(*), intent(inout), optional :: errmsg
        call add_int32_2(this, kind, values, [ids], name, step, steps, &
            attributes, base, stat, errmsg)
    end subroutine

    ! The end of a model

    subroutine last_error(this, error)
        class(mek_model), intent(in) :: this
        type(mek_error), intent(out) :: error
        if (is_owner(this) .and. c_associated(this%handle)) then
            error = error_of(this%handle)
        else
            error%class_name = ''
            error%message = ''
            error%function = ''
            error%file = ''
        end if
    end subroutine

    subroutine destroy_model(this)
        class(mek_model), intent(inout) :: this
        call forget_model_of_other(this)
        call c_model_destroy(this%handle)
        this%handle = c_null_ptr
        call free_steps(this%request)
        call c_attributes_destroy(this%request%of_array%handle)
        call forget(this%request)
    end subroutine

    impure elemental subroutine finalise_model(this)
        type(mek_model), intent(inout) :: this
        call this%destroy()
    end subroutine

    !> Two variables would write to the same file. Models that are not in use are accepted, since
    !> they can be components. The procedure is not elemental: with an elemental one, gfortran 12
    !> does not allocate an array of a type with such a component when it is assigned.
    subroutine refuse_copy(this, other)
        class(mek_model), intent(inout) :: this
        class(mek_model), intent(in) :: other
        if (c_associated(this%handle) .or. c_associated(other%handle)) then
            write (error_unit, '(a)') 'mekapi2: a mek_model cannot be assigned to another'
            error stop 1
        end if
    end subroutine
end module
