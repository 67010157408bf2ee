! The functions and structures of <mekapi2.h>, for the module mekapi2.
module mekapi2_c
    use, intrinsic :: iso_c_binding
    implicit none
    public

    type, bind(C) :: c_step
        type(c_ptr) :: name = c_null_ptr
        type(c_ptr) :: attributes = c_null_ptr
    end type

    type, bind(C) :: c_array_options
        integer(c_size_t) :: size = 0
        type(c_ptr) :: name = c_null_ptr
        type(c_ptr) :: steps = c_null_ptr
        integer(c_size_t) :: step_count = 0
        type(c_ptr) :: attributes = c_null_ptr
        integer(c_intptr_t) :: row_stride = 0
        integer(c_intptr_t) :: column_stride = 0
        integer(c_int32_t) :: base = 0
        integer(c_int32_t) :: reserved = 0
    end type

    type, bind(C) :: c_error
        integer(c_size_t) :: size
        integer(c_int) :: status
        integer(c_int) :: system_error
        integer(c_int) :: line
        type(c_ptr) :: class_name
        type(c_ptr) :: message
        type(c_ptr) :: function
        type(c_ptr) :: file
    end type

    type, bind(C) :: c_recovery_amount
        integer(c_int64_t) :: calls, arrays, steps, bytes
    end type

    type, bind(C) :: c_recovery_report
        integer(c_size_t) :: size
        type(c_recovery_amount) :: saved, lost
        character(kind=c_char) :: reason(256)
    end type

    interface
        integer(c_int32_t) function c_version() bind(C, name='mek_version')
            import
        end function

        type(c_ptr) function c_status_name(status) bind(C, name='mek_status_name')
            import
            integer(c_int), value :: status
        end function

        type(c_ptr) function c_last_error(model) bind(C, name='mek_last_error')
            import
            type(c_ptr), value :: model
        end function

        integer(c_int) function c_attributes_create(attributes) &
                bind(C, name='mek_attributes_create')
            import
            type(c_ptr), intent(inout) :: attributes
        end function

        subroutine c_attributes_destroy(attributes) bind(C, name='mek_attributes_destroy')
            import
            type(c_ptr), value :: attributes
        end subroutine

        integer(c_int) function c_attributes_set_f32(attributes, key, given) &
                bind(C, name='mek_attributes_set_f32')
            import
            type(c_ptr), value :: attributes
            character(kind=c_char), intent(in) :: key(*)
            real(c_float), value :: given
        end function

        integer(c_int) function c_attributes_set_u32(attributes, key, given) &
                bind(C, name='mek_attributes_set_u32')
            import
            type(c_ptr), value :: attributes
            character(kind=c_char), intent(in) :: key(*)
            integer(c_int32_t), value :: given
        end function

        integer(c_int) function c_attributes_set_string(attributes, key, given) &
                bind(C, name='mek_attributes_set_string')
            import
            type(c_ptr), value :: attributes
            character(kind=c_char), intent(in) :: key(*), given(*)
        end function

        integer(c_int) function c_properties_create(properties) &
                bind(C, name='mek_properties_create')
            import
            type(c_ptr), intent(inout) :: properties
        end function

        subroutine c_properties_destroy(properties) bind(C, name='mek_properties_destroy')
            import
            type(c_ptr), value :: properties
        end subroutine

        integer(c_int) function c_properties_set_bool(properties, key, given) &
                bind(C, name='mek_properties_set_bool')
            import
            type(c_ptr), value :: properties
            integer(c_int32_t), value :: key
            integer(c_int), value :: given
        end function

        integer(c_int) function c_properties_set_f32(properties, key, given) &
                bind(C, name='mek_properties_set_f32')
            import
            type(c_ptr), value :: properties
            integer(c_int32_t), value :: key
            real(c_float), value :: given
        end function

        integer(c_int) function c_properties_set_f32_array(properties, key, given, count) &
                bind(C, name='mek_properties_set_f32_array')
            import
            type(c_ptr), value :: properties
            integer(c_int32_t), value :: key
            real(c_float), intent(in) :: given(*)
            integer(c_size_t), value :: count
        end function

        integer(c_int) function c_options_create(options) bind(C, name='mek_options_create')
            import
            type(c_ptr), intent(inout) :: options
        end function

        subroutine c_options_destroy(options) bind(C, name='mek_options_destroy')
            import
            type(c_ptr), value :: options
        end subroutine

        integer(c_int) function c_options_set_overwrite(options, given) &
                bind(C, name='mek_options_set_overwrite')
            import
            type(c_ptr), value :: options
            integer(c_int), value :: given
        end function

        integer(c_int) function c_options_set_tool(options, name, version) &
                bind(C, name='mek_options_set_tool')
            import
            type(c_ptr), value :: options
            character(kind=c_char), intent(in) :: name(*), version(*)
        end function

        integer(c_int) function c_options_set_relink_replaced(options, given) &
                bind(C, name='mek_options_set_relink_replaced')
            import
            type(c_ptr), value :: options
            integer(c_int), value :: given
        end function

        integer(c_int) function c_options_set_journal(options, given) &
                bind(C, name='mek_options_set_journal')
            import
            type(c_ptr), value :: options
            integer(c_int), value :: given
        end function

        integer(c_int) function c_options_set_replace_when_complete(options, given) &
                bind(C, name='mek_options_set_replace_when_complete')
            import
            type(c_ptr), value :: options
            integer(c_int), value :: given
        end function

        integer(c_int) function c_options_set_parallel_for(options, function, context) &
                bind(C, name='mek_options_set_parallel_for')
            import
            type(c_ptr), value :: options
            type(c_funptr), value :: function
            type(c_ptr), value :: context
        end function

        integer(c_int) function c_options_set_threads(options, given) &
                bind(C, name='mek_options_set_threads')
            import
            type(c_ptr), value :: options
            integer(c_int32_t), value :: given
        end function

        integer(c_int) function c_options_set_block_size(options, given) &
                bind(C, name='mek_options_set_block_size')
            import
            type(c_ptr), value :: options
            integer(c_int32_t), value :: given
        end function

        integer(c_int) function c_options_set_compression_level(options, given) &
                bind(C, name='mek_options_set_compression_level')
            import
            type(c_ptr), value :: options
            integer(c_int), value :: given
        end function

        integer(c_int) function c_model_create(model) bind(C, name='mek_model_create')
            import
            type(c_ptr), intent(inout) :: model
        end function

        subroutine c_model_destroy(model) bind(C, name='mek_model_destroy')
            import
            type(c_ptr), value :: model
        end subroutine

        integer(c_int) function c_save_to(model, path, options) bind(C, name='mek_save_to')
            import
            type(c_ptr), value :: model
            character(kind=c_char), intent(in) :: path(*)
            type(c_ptr), value :: options
        end function

        integer(c_int) function c_close(model) bind(C, name='mek_close')
            import
            type(c_ptr), value :: model
        end function

        integer(c_int) function c_checkpoint(model, durability) bind(C, name='mek_checkpoint')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: durability
        end function

        integer(c_int) function c_temporary_path(model, path) bind(C, name='mek_temporary_path')
            import
            type(c_ptr), value :: model
            type(c_ptr), intent(inout) :: path
        end function

        integer(c_int) function c_add_node(model, kind, name, attributes, id) &
                bind(C, name='mek_add_node')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: kind
            character(kind=c_char), intent(in) :: name(*)
            type(c_ptr), value :: attributes
            integer(c_int32_t), intent(inout) :: id
        end function

        integer(c_int) function c_set_current_node_id(model, id) &
                bind(C, name='mek_set_current_node_id')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: id
        end function

        integer(c_int) function c_move_to_parent_node(model) bind(C, name='mek_move_to_parent_node')
            import
            type(c_ptr), value :: model
        end function

        integer(c_int) function c_get_node_id(model, path, separator, id) &
                bind(C, name='mek_get_node_id')
            import
            type(c_ptr), value :: model
            character(kind=c_char), intent(in) :: path(*), separator(*)
            integer(c_int32_t), intent(inout) :: id
        end function

        integer(c_int) function c_get_node_id_of_names(model, names, count, id) &
                bind(C, name='mek_get_node_id_of_names')
            import
            type(c_ptr), value :: model
            type(c_ptr), intent(in) :: names(*)
            integer(c_size_t), value :: count
            integer(c_int32_t), intent(inout) :: id
        end function

        integer(c_int) function c_set_node_data(model, id, properties, attributes) &
                bind(C, name='mek_set_node_data')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: id
            type(c_ptr), value :: properties, attributes
        end function

        integer(c_int) function c_add_assembly_components(model, paths, count, separator, ids) &
                bind(C, name='mek_add_assembly_components')
            import
            type(c_ptr), value :: model
            type(c_ptr), intent(in) :: paths(*)
            integer(c_size_t), value :: count
            character(kind=c_char), intent(in) :: separator(*)
            integer(c_int32_t), intent(inout) :: ids(*)
        end function

        integer(c_int) function c_add_components_with_attributes(model, paths, attributes, count, &
                separator, ids) bind(C, name='mek_add_assembly_components_with_attributes')
            import
            type(c_ptr), value :: model
            type(c_ptr), intent(in) :: paths(*), attributes(*)
            integer(c_size_t), value :: count
            character(kind=c_char), intent(in) :: separator(*)
            integer(c_int32_t), intent(inout) :: ids(*)
        end function

        integer(c_int) function c_add_array_f32(model, kind, first, rows, columns, ids, &
                id_count, options) bind(C, name='mek_add_array_f32')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: kind
            type(c_ptr), value :: first
            integer(c_size_t), value :: rows, columns
            integer(c_int32_t), intent(in) :: ids(*)
            integer(c_size_t), value :: id_count
            type(c_array_options), intent(in) :: options
        end function

        integer(c_int) function c_add_array_i32(model, kind, first, rows, columns, ids, &
                id_count, options) bind(C, name='mek_add_array_i32')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: kind
            type(c_ptr), value :: first
            integer(c_size_t), value :: rows, columns
            integer(c_int32_t), intent(in) :: ids(*)
            integer(c_size_t), value :: id_count
            type(c_array_options), intent(in) :: options
        end function

        integer(c_int) function c_add_array_f64(model, kind, first, rows, columns, ids, &
                id_count, options, out_of_range) bind(C, name='mek_add_array_f64')
            import
            type(c_ptr), value :: model
            integer(c_int32_t), value :: kind
            type(c_ptr), value :: first
            integer(c_size_t), value :: rows, columns
            integer(c_int32_t), intent(in) :: ids(*)
            integer(c_size_t), value :: id_count
            type(c_array_options), intent(in) :: options
            type(c_ptr), value :: out_of_range
        end function

        integer(c_int) function c_recover(unfinished, output, overwrite, on_temporary_file, &
                context, report) bind(C, name='mek_recover')
            import
            character(kind=c_char), intent(in) :: unfinished(*), output(*)
            integer(c_int), value :: overwrite
            type(c_funptr), value :: on_temporary_file
            type(c_ptr), value :: context
            type(c_recovery_report), intent(inout) :: report
        end function

        integer(c_size_t) function c_strlen(string) bind(C, name='strlen')
            import
            type(c_ptr), value :: string
        end function
    end interface
end module
