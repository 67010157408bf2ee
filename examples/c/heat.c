/* Heat in a square plate: a finite-difference solver that writes its steps with checkpoints.
 *
 * If the program is killed, `mekrecover FILE` saves all steps up to the last checkpoint. An older
 * FILE is kept until the new one is complete.
 *
 * Usage: heat_c [FILE] */
#include <mekapi2.h>

#include <stdio.h>
#include <string.h>

enum { points = 41, cells = points - 1, steps = 10, iterations = 50 };

static double temperature[points][points];
static double next[points][points];

/* A hot square in a cold plate. */
static void set_initial_temperature(void) {
    int i, j;
    for (i = 0; i < points; ++i) {
        for (j = 0; j < points; ++j) {
            const int is_hot = i >= 10 && i < 20 && j >= 10 && j < 20;
            temperature[i][j] = is_hot ? 100.0 : 20.0;
        }
    }
}

static int clamp(int i) { return i < 0 ? 0 : (i < points ? i : points - 1); }

/* One explicit time step. No heat passes the edges. */
static void iterate(void) {
    const double number = 0.2; /* diffusivity x time step / distance squared */
    int i, j;
    for (i = 0; i < points; ++i) {
        for (j = 0; j < points; ++j) {
            const double around = temperature[clamp(i - 1)][j] + temperature[clamp(i + 1)][j] +
                                  temperature[i][clamp(j - 1)] + temperature[i][clamp(j + 1)];
            next[i][j] = temperature[i][j] + number * (around - 4.0 * temperature[i][j]);
        }
    }
    memcpy(temperature, next, sizeof temperature);
}

static mek_status open_model(mek_model* model, const char* path) {
    mek_options* options = NULL;
    mek_status status = mek_options_create(&options);
    if (status == MEK_OK) {
        status = mek_options_set_overwrite(options, 1);
    }
    if (status == MEK_OK) {
        status = mek_options_set_journal(options, 1);
    }
    if (status == MEK_OK) {
        status = mek_options_set_replace_when_complete(options, 1);
    }
    if (status == MEK_OK) {
        status = mek_options_set_tool(options, "heat", "1.0");
    }
    if (status == MEK_OK) {
        status = mek_save_to(model, path, options);
    }
    mek_options_destroy(options);
    return status;
}

/* A mesh of quadrilaterals. Connectivity counts the nodes from 0. */
static mek_status add_mesh(mek_model* model, uint32_t plate) {
    static float coordinates[points * points][3];
    static uint32_t corners[cells * cells][4];
    static uint32_t lengths[cells * cells];
    uint32_t i, j;
    mek_status status;
    for (i = 0; i < points; ++i) {
        for (j = 0; j < points; ++j) {
            coordinates[i * points + j][0] = (float)j / cells;
            coordinates[i * points + j][1] = (float)i / cells;
        }
    }
    for (i = 0; i < cells; ++i) {
        for (j = 0; j < cells; ++j) {
            uint32_t* const corner = corners[i * cells + j];
            corner[0] = i * points + j;
            corner[1] = corner[0] + 1;
            corner[2] = corner[1] + points;
            corner[3] = corner[0] + points;
            lengths[i * cells + j] = 4;
        }
    }
    status = mek_add_array_f32(model, MEK_COORDINATES, coordinates[0], points * points, 3, &plate,
                               1, NULL);
    if (status == MEK_OK) {
        status = mek_add_array_u32(model, MEK_CONNECTIVITY_1, corners[0], 4 * cells * cells, 1,
                                   &plate, 1, NULL);
    }
    if (status == MEK_OK) {
        status =
            mek_add_array_u32(model, MEK_POLYLENGTH_1, lengths, cells * cells, 1, &plate, 1, NULL);
    }
    return status;
}

/* Writes the temperature, rounded to 32 bits, and makes it recoverable. */
static mek_status add_step(mek_model* model, uint32_t plate, mek_attributes* attributes,
                           int number) {
    char name[16];
    mek_step step = {NULL, NULL};
    mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
    mek_status status;
    snprintf(name, sizeof name, "%d", number);
    status = mek_attributes_set_f32(attributes, "Time", 0.5F * (float)number);
    step.name = name;
    step.attributes = attributes;
    options.name = "Temperature";
    options.steps = &step;
    options.step_count = 1;
    if (status == MEK_OK) {
        status = mek_add_array_f64(model, MEK_RESULT_A1, temperature[0], points * points, 1, &plate,
                                   1, &options, NULL);
    }
    return status == MEK_OK ? mek_checkpoint(model, MEK_DURABILITY_PROCESS) : status;
}

static mek_status solve(mek_model* model, uint32_t plate, mek_attributes* attributes) {
    mek_status status = add_step(model, plate, attributes, 0);
    int number, iteration;
    for (number = 1; status == MEK_OK && number <= steps; ++number) {
        for (iteration = 0; iteration < iterations; ++iteration) {
            iterate();
        }
        status = add_step(model, plate, attributes, number);
    }
    return status;
}

static mek_status write_model(mek_model* model, const char* path) {
    mek_attributes* attributes = NULL;
    uint32_t plate = 0;
    mek_status status = open_model(model, path);
    if (status == MEK_OK) {
        status = mek_add_node(model, MEK_ROOT_GROUP, "heat", NULL, NULL);
    }
    if (status == MEK_OK) {
        status = mek_add_node(model, MEK_SHAPE, "plate", NULL, &plate); /* id of its geometry */
    }
    if (status == MEK_OK) {
        status = add_mesh(model, plate);
    }
    if (status == MEK_OK) {
        status = mek_attributes_create(&attributes);
    }
    if (status == MEK_OK) {
        status = solve(model, plate, attributes);
    }
    mek_attributes_destroy(attributes);
    return status == MEK_OK ? mek_close(model) : status; /* the file is complete only now */
}

int main(int argc, char** argv) {
    mek_model* model = NULL;
    mek_status status = mek_model_create(&model);
    set_initial_temperature();
    if (status == MEK_OK) {
        status = write_model(model, argc > 1 ? argv[1] : "heat.mek");
    }
    if (status != MEK_OK) {
        const mek_error* error = mek_last_error(model);
        if (error->status != status) { /* the call that failed had no model */
            error = mek_last_error(NULL);
        }
        fprintf(stderr, "heat: %s: %s (%s, line %d)\n", mek_status_name(status), error->message,
                error->file, error->line);
    }
    mek_model_destroy(model); /* after an error, what the checkpoints have saved is kept */
    return status == MEK_OK ? 0 : 1;
}
