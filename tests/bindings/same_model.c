/* Writes the model of same_model.cpp, through the C interface. */
#include <mekapi2.h>

#include <stdio.h>
#include <stdlib.h>

#define ROOT "same model \xCE\x9B"
#define POINT_COUNT 20000

/* An interleaved record, as a solver may have it. */
struct point {
    double weight;
    float position[3];
    int32_t number; /* from 1 */
};

static mek_model* model = NULL;
static uint32_t ids[2]; /* of the geometries body and skin */

static void require(int condition, const char* message) {
    if (!condition) {
        fprintf(stderr, "same_model: %s\n", message);
        exit(1);
    }
}

static void check(mek_status status) { require(status == MEK_OK, mek_last_error(model)->message); }

static int run_tasks(void* context, size_t count, mek_task task, void* data) {
    size_t* runs = context;
    size_t i;
    for (i = count; i > 0; --i) {
        task(data, i - 1);
    }
    ++*runs;
    return 0;
}

static mek_attributes* new_attributes(void) {
    mek_attributes* attributes = NULL;
    check(mek_attributes_create(&attributes));
    check(mek_attributes_set_string(attributes, "will be removed", "value"));
    check(mek_attributes_clear(attributes));
    check(mek_attributes_set_u32(attributes, "unsigned", 4000000000U));
    check(mek_attributes_set_i32(attributes, "int", -1));
    check(mek_attributes_set_f32(attributes, "float", 1.5F));
    check(mek_attributes_set_string(attributes, "text", "\xC3\xA9t\xC3\xA9"));
    check(mek_attributes_set_string(attributes, "", ""));
    return attributes;
}

static void set_three(mek_properties* properties, mek_property_type type, float first, float second,
                      float third) {
    const float values[] = {first, second, third};
    check(mek_properties_set_f32_array(properties, type, values, 3));
}

static void add_placed_group(void) {
    const float rotation[] = {0, 0, 1, 0.5F};
    mek_properties* placement = NULL;
    mek_attributes* side = NULL;
    uint32_t id = 0;
    check(mek_properties_create(&placement));
    set_three(placement, MEK_TRANSLATION, 1, 2, 3);
    check(mek_properties_set_f32_array(placement, MEK_ROTATION, rotation, 4));
    set_three(placement, MEK_SCALE, 2, 2, 4);
    check(mek_attributes_create(&side));
    check(mek_attributes_set_string(side, "side", "left"));
    check(mek_set_current_node_id(model, 1));
    check(mek_add_node(model, MEK_GROUP, "placed", NULL, &id));
    check(mek_set_node_data(model, id, placement, side));
    mek_attributes_destroy(side);
    mek_properties_destroy(placement);
}

static void add_coloured_shape(void) {
    const float specular[] = {1, 0.5F, 0.25F, 0.125F};
    mek_properties* material = NULL;
    uint32_t id = 0;
    check(mek_properties_create(&material));
    set_three(material, MEK_DIFFUSE_COLOR, 0.25F, 0.5F, 0.75F);
    check(mek_properties_set_f32_array(material, MEK_SPECULAR_COLOR, specular, 4));
    set_three(material, MEK_EMISSIVE_COLOR, 0.125F, 0, 0);
    set_three(material, MEK_AMBIENT_COLOR, 0.5F, 0.5F, 0.5F);
    check(mek_properties_set_f32(material, MEK_TRANSPARENCY, 0.25F));
    check(mek_properties_set_f32(material, MEK_AMBIENT_INTENSITY, 0.5F));
    check(mek_properties_set_f32(material, MEK_SHININESS, 0.5F));
    check(mek_properties_set_bool(material, MEK_MATERIAL_FLAG, 1));
    check(mek_move_to_parent_node(model));
    check(mek_add_node(model, MEK_SHAPE, "coloured", NULL, &id));
    check(mek_set_node_data(model, id, material, NULL));
    mek_properties_destroy(material);
}

static void add_tree(void) {
    const char* const paths[] = {"/" ROOT "/part/", "/" ROOT "/part/body", "/" ROOT "/part/skin"};
    const char* const others[] = {"|" ROOT "|second|", "|" ROOT "|part|body"};
    const char* const names[] = {ROOT, "part", "skin"};
    mek_attributes* attributes = new_attributes();
    const mek_attributes* const of_others[] = {attributes, NULL};
    uint32_t added[3];
    check(mek_add_node(model, MEK_FLAGGED_ROOT_GROUP, ROOT, attributes, NULL));
    check(mek_add_assembly_components(model, paths, 3, NULL, added));
    check(mek_add_assembly_components_with_attributes(model, others, of_others, 2, "|", added));
    mek_attributes_destroy(attributes);
    add_placed_group();
    add_coloured_shape();
    check(mek_get_node_id(model, "/" ROOT "/part/body/body", NULL, &ids[0]));
    check(mek_get_node_id_of_names(model, names, 3, &ids[1]));
    ++ids[1]; /* the geometry of the shape */
    require(added[1] == ids[0], "the ids are not in the order of the paths");
}

static void add_mesh(void) {
    static struct point points[POINT_COUNT];
    mek_array_options interleaved = MEK_ARRAY_OPTIONS_INIT;
    const uint32_t lengths[] = {8, 8, 8, 8, 8, 8, 8, 8, 8, 8};
    size_t i, j;
    for (i = 0; i < POINT_COUNT; ++i) {
        for (j = 0; j < 3; ++j) {
            points[i].position[j] = 0.5F * (float)i + 0.25F * (float)j;
        }
        points[i].number = (int32_t)i + 1;
    }
    interleaved.row_stride = sizeof(struct point);
    check(mek_add_array_f32(model, MEK_COORDINATES, points[0].position, POINT_COUNT, 3, ids, 2,
                            &interleaved));
    interleaved.base = 1;
    check(mek_add_array_i32(model, MEK_CONNECTIVITY_2, &points[0].number, 80, 1, ids, 1,
                            &interleaved));
    check(mek_add_array_u32(model, MEK_POLYLENGTH_2, lengths, 10, 1, ids, 1, NULL));
    check(mek_add_array_i32(model, MEK_NODE_IDS, &points[0].number, POINT_COUNT, 1, ids, 2,
                            &interleaved));
}

static void add_kinds(void) {
    static const size_t widths[] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 3, 1, 3, 6, 6, 1, 3,
                                    6, 6, 1, 3, 6, 6, 1, 1, 3, 6, 6, 1, 1, 3, 6};
    const uint32_t numbers[] = {7, 8, 9};
    float by_column[6][3];
    char name[16];
    mek_attributes* time = NULL;
    mek_step steps[2] = {{"first", NULL}, {"second", NULL}};
    mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
    mek_dataset_type kind;
    int i;
    check(mek_attributes_create(&time));
    check(mek_attributes_set_f32(time, "Time", 0.5F));
    steps[1].attributes = time;
    for (i = 0; i < 18; ++i) {
        by_column[i / 3][i % 3] = (float)(i % 3) + 0.125F * (float)(i / 3);
    }
    options.name = name;
    options.steps = steps;
    options.step_count = 2;
    for (kind = 0; kind <= 30; ++kind) {
        snprintf(name, sizeof name, "kind %d", (int)kind);
        if (kind < 9 || kind == MEK_NODE_IDS || kind == MEK_ELEMENT_IDS) {
            options.row_stride = options.column_stride = 0;
            check(mek_add_array_u32(model, kind, numbers, 3, 1, ids + 1, 1, &options));
        } else {
            options.row_stride = sizeof(float);
            options.column_stride = sizeof by_column[0];
            check(mek_add_array_f32(model, kind, by_column[0], 3, widths[kind], ids + 1, 1,
                                    &options));
        }
    }
    mek_attributes_destroy(time);
}

static void add_results(void) {
    const double shape[] = {1, 2, 3, 4, 5, 6};
    const double wide[] = {0.1, 0.2, 1e30F};
    const uint32_t counts[] = {2000000000, 2000000001};
    mek_attributes* vibration = NULL;
    mek_step step = {"mode 1", NULL};
    mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
    size_t out_of_range = 9;
    check(mek_attributes_create(&vibration));
    check(mek_attributes_set_string(vibration, "Category", "Vibration"));
    check(mek_attributes_set_f32(vibration, "Frequency", 12.5F));
    options.name = "mode";
    options.steps = &step;
    options.step_count = 1;
    options.attributes = vibration;
    check(mek_add_array_f64(model, MEK_RESULT_A3, shape, 2, 3, ids, 1, &options, NULL));
    step.name = "1";
    options.attributes = NULL;
    options.name = "T";
    check(mek_add_array_f64(model, MEK_RESULT_A1, wide, 3, 1, ids, 2, &options, &out_of_range));
    check(mek_add_array_f64(model, MEK_RESULT_A1, wide, 3, 1, ids + 1, 1, &options, NULL));
    options.name = "counts";
    check(mek_add_array_u32(model, MEK_RESULT_B1, counts, 2, 1, ids + 1, 1, &options));
    mek_attributes_destroy(vibration);
    require(out_of_range == 0, "values are out of range");
}

static void save_to(const char* path, size_t* runs) {
    mek_options* options = NULL;
    const char* temporary = NULL;
    check(mek_options_create(&options));
    check(mek_options_set_overwrite(options, 1));
    check(mek_options_set_tool(options, "same model", "1.2"));
    check(mek_options_set_relink_replaced(options, 1));
    check(mek_options_set_journal(options, 1));
    check(mek_options_set_replace_when_complete(options, 1));
    check(mek_options_set_threads(options, 2));
    check(mek_options_set_parallel_for(options, run_tasks, runs));
    check(mek_options_set_block_size(options, 100000));
    check(mek_options_set_compression_level(options, 6));
    check(mek_model_create(&model));
    check(mek_save_to(model, path, options));
    mek_options_destroy(options);
    check(mek_temporary_path(model, &temporary));
    require(temporary[0] != '\0', "there is no temporary file");
}

int main(int argc, char** argv) {
    size_t runs = 0;
    save_to(argc > 1 ? argv[1] : "same_model.mek", &runs);
    add_tree();
    add_mesh();
    check(mek_checkpoint(model, MEK_DURABILITY_PROCESS));
    add_kinds();
    check(mek_checkpoint(model, MEK_DURABILITY_DEVICE));
    add_results();
    check(mek_close(model));
    mek_model_destroy(model);
    return runs > 0 ? 0 : 1;
}
