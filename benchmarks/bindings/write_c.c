#include <mekapi2.h>

#include "bindings/workload.h"

static int add_steps(mek_model* model, const Workload* workload, uint32_t mesh) {
    mek_attributes* attributes = NULL;
    mek_step step = {NULL, NULL};
    mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
    uint32_t number;
    int failures = mek_attributes_create(&attributes) != MEK_OK;
    options.name = "Temperature";
    options.steps = &step;
    options.step_count = 1;
    step.attributes = attributes;
    for (number = 0; number < stepCount; ++number) {
        step.name = workload->names[number];
        failures += mek_attributes_set_u32(attributes, "Step", number) != MEK_OK;
        failures += mek_attributes_set_f32(attributes, "Time", 0.01F * (float)number) != MEK_OK;
        failures += mek_add_array_f32(model, MEK_RESULT_A1, workload->values, valueCount, 1, &mesh,
                                      1, &options) != MEK_OK;
    }
    mek_attributes_destroy(attributes);
    return failures;
}

int writeWithC(const Workload* workload) {
    mek_options* options = NULL;
    mek_model* model = NULL;
    uint32_t mesh = 0;
    int failures = mek_options_create(&options) != MEK_OK;
    failures += mek_options_set_overwrite(options, 1) != MEK_OK;
    failures += mek_model_create(&model) != MEK_OK;
    failures += mek_save_to(model, workload->path, options) != MEK_OK;
    failures += mek_add_node(model, MEK_ROOT_GROUP, "model", NULL, NULL) != MEK_OK;
    failures += mek_add_node(model, MEK_SHAPE, "part", NULL, &mesh) != MEK_OK;
    failures += add_steps(model, workload, mesh);
    failures += mek_close(model) != MEK_OK;
    mek_options_destroy(options);
    mek_model_destroy(model);
    return failures;
}
