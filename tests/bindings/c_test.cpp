#include <mekapi2.h>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace {

using namespace Testing;
using Call = std::function<mek_status(mek_model*)>;

constexpr std::uint32_t shape = 3; // its geometry; 1 is the root

class CTest : public FolderTest {
protected:
    CTest() {
        mek_options_create(&options);
        mek_options_set_overwrite(options, 1);
        mek_model_create(&model);
    }
    ~CTest() override {
        mek_model_destroy(model);
        mek_options_destroy(options);
    }

    /// Opens a file with the shape.
    void open(const std::string& file) {
        require(mek_save_to(model, file.c_str(), options));
        require(mek_add_node(model, MEK_ROOT_GROUP, "root", nullptr, nullptr));
        std::uint32_t id = 0;
        require(mek_add_node(model, MEK_SHAPE, "shape", nullptr, &id));
        ASSERT_EQ(id, shape);
    }

    void require(mek_status status) const {
        ASSERT_EQ(mek_status_name(status), std::string("MEK_OK")) << mek_last_error(model)->message;
    }

    mek_model* model = nullptr;
    mek_options* options = nullptr;
};

mek_status addFloats(mek_model* model, std::size_t rows, std::size_t columns,
                     const mek_array_options* options = nullptr, std::uint32_t id = shape) {
    static const float values[6] = {};
    return mek_add_array_f32(model, MEK_COORDINATES, values, rows, columns, &id, 1, options);
}

mek_array_options optionsOfSize(std::size_t size) {
    mek_array_options options = MEK_ARRAY_OPTIONS_INIT;
    options.size = size;
    return options;
}

struct Expected {
    mek_status status;
    const char* className;
    const char* message; ///< its start
    Call call;
    const char* place; ///< start of the source file, or of the function if the call itself failed
};

mek_status setTransparencyOf(mek_model* model, bool isArray) {
    const float value = 1;
    mek_properties* properties = nullptr;
    mek_properties_create(&properties);
    mek_properties_set_i32(properties, MEK_TRANSPARENCY, 1);
    mek_properties_set_i32_array(properties, MEK_TRANSPARENCY, nullptr, 0);
    mek_properties_set_string(properties, MEK_TRANSPARENCY, "string");
    if (isArray) {
        mek_properties_set_f32(properties, MEK_TRANSPARENCY, value);
        mek_properties_set_f32_array(properties, MEK_EMISSIVE_COLOR, &value, 1);
    }
    const mek_status status = mek_set_node_data(model, shape, properties, nullptr);
    mek_properties_destroy(properties);
    return status;
}

const Expected expectations[] = {
    {MEK_INVALID_STATE, "InvalidObjectState", "Not Empty",
     [](auto* to) { return mek_save_to(to, "", nullptr); }, "tyr/"},
    {MEK_INVALID_STATE, "InvalidObjectState", "No journal",
     [](auto* to) { return mek_checkpoint(to, MEK_DURABILITY_PROCESS); }, "tyr/"},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "unknown durability",
     [](auto* to) { return mek_checkpoint(to, 2); }, "mek_checkpoint"},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "Invalid node type",
     [](auto* to) { return mek_add_node(to, -1, "", nullptr, nullptr); }, "tyr/"},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "", [](auto* to) { return addFloats(to, 2, 2); },
     "tyr/"},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "invalid array size",
     [](auto* to) { return setTransparencyOf(to, true); }, "tyr/"},
    {MEK_WRONG_TYPE, "TemplateSpecializationNotDefined", "",
     [](auto* to) { return setTransparencyOf(to, false); }, "tyr/"},
    {MEK_OUT_OF_BOUNDS, "OutOfBounds", "", [](auto* to) { return mek_set_current_node_id(to, 9); },
     "tyr/"},
    {MEK_OVERFLOW, "OverflowError", "2^31 or more rows",
     [](auto* to) { return addFloats(to, std::size_t{1} << 31, 3); }, "mek_add_array_f32"},
    {MEK_OVERFLOW, "OverflowError", "an array of 2^32 bytes",
     [](auto* to) { return addFloats(to, std::size_t{1} << 30, 3); }, "mek_add_array_f32"},
    {MEK_KEY_NOT_FOUND, "KeyNotFound", "", [](auto* to) { return addFloats(to, 1, 3, nullptr, 9); },
     "tyr/"},
    {MEK_NOT_YET_IMPLEMENTED, "NotYetImplemented", "",
     [](auto* to) {
         const char* const path = "/other/group/";
         return mek_add_assembly_components(to, &path, 1, nullptr, nullptr);
     },
     "tyr/"},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "the path /root/a is given twice",
     [](auto* to) {
         const char* const paths[] = {"/root/a", "/root/a"};
         const mek_attributes* const attributes[] = {nullptr, nullptr};
         return mek_add_assembly_components_with_attributes(to, paths, attributes, 2, nullptr,
                                                            nullptr);
     },
     "mek_add_assembly_components_with_attributes"},
    {MEK_NO_MEMORY, "std::length_error", "",
     [](auto* to) {
         const char* const path = "/root/";
         return mek_add_assembly_components(to, &path, static_cast<std::size_t>(-1), "/", nullptr);
     },
     "mek_add_assembly_components"},
    {MEK_MISUSE, "Misuse", "the name is null",
     [](auto* to) { return mek_add_node(to, MEK_GROUP, nullptr, nullptr, nullptr); },
     "mek_add_node"},
    {MEK_MISUSE, "Misuse", "the address of the id is null",
     [](auto* to) { return mek_get_node_id(to, "/root", nullptr, nullptr); }, "mek_get_node_id"},
    {MEK_MISUSE, "Misuse", "the array of values is null",
     [](auto* to) {
         return mek_add_array_u32(to, MEK_NODE_IDS, nullptr, 1, 1, &shape, 1, nullptr);
     },
     "mek_add_array_u32"},
    {MEK_MISUSE, "Misuse", "mek_array_options has a size of 8, expected 6",
     [](auto* to) {
         const mek_array_options small = optionsOfSize(8);
         return addFloats(to, 1, 3, &small);
     },
     "mek_add_array_f32"},
    {MEK_MISUSE, "Misuse", "mek_array_options has a size of 7",
     [](auto* to) { // of a later version, with a member that this version does not know
         mek_array_options later[2] = {optionsOfSize(sizeof later[0] + 8), {}};
         const mek_status accepted = addFloats(to, 1, 3, later);
         later[1].size = 1;
         return accepted == MEK_OK ? addFloats(to, 1, 3, later) : accepted;
     },
     "mek_add_array_f32"},
    {MEK_MISUSE, "Misuse", "step_count is 0",
     [](auto* to) {
         const mek_step step = {nullptr, nullptr};
         mek_array_options none = MEK_ARRAY_OPTIONS_INIT;
         none.steps = &step;
         return addFloats(to, 1, 3, &none);
     },
     "mek_add_array_f32"},
    {MEK_MISUSE, "Misuse", "base is for integers",
     [](auto* to) {
         mek_array_options based = MEK_ARRAY_OPTIONS_INIT;
         based.base = 1;
         return addFloats(to, 1, 3, &based);
     },
     "mek_add_array_f32"},
    {MEK_VALUE_OUT_OF_RANGE, "ValueOutOfRange",
     "the value 0 in row 1 and column 0, both counted from 0, is out of range: expected 1 to "
     "4294967296",
     [](auto* to) {
         const std::int32_t rows[] = {1, 0};
         mek_array_options based = MEK_ARRAY_OPTIONS_INIT;
         based.base = 1;
         return mek_add_array_i32(to, MEK_CONNECTIVITY_0, rows, 2, 1, &shape, 1, &based);
     },
     "mek_add_array_i32"},
    {MEK_VALUE_OUT_OF_RANGE, "ValueOutOfRange", "the value -1e+39 in row 0 and column 2",
     [](auto* to) {
         const double point[] = {0, std::numeric_limits<double>::infinity(), -1e39};
         return mek_add_array_f64(to, MEK_COORDINATES, point, 1, 3, &shape, 1, nullptr, nullptr);
     },
     "mek_add_array_f64"},
};

TEST_F(CTest, ReportsEachErrorWithItsClassMessageAndPlace) {
    open(path("model"));
    for (const Expected& expected : expectations) {
        SCOPED_TRACE(expected.message);
        EXPECT_EQ(mek_status_name(expected.call(model)),
                  std::string(mek_status_name(expected.status)));
        const mek_error* const error = mek_last_error(model);
        EXPECT_EQ(error->size, sizeof *error);
        EXPECT_EQ(error->status, expected.status);
        EXPECT_STREQ(error->class_name, expected.className);
        EXPECT_EQ(std::string(error->message).find(expected.message), 0U) << error->message;
        const bool isOfLibrary = error->file[0] != '\0';
        EXPECT_EQ(isOfLibrary, error->line > 0);
        EXPECT_EQ(std::string(isOfLibrary ? error->file : error->function).find(expected.place), 0U)
            << error->file << error->function;
    }
    require(mek_close(model)); // the model remains usable
    EXPECT_EQ(mek_last_error(model)->status, MEK_OK);
    EXPECT_STREQ(mek_last_error(model)->class_name, "");
    EXPECT_STREQ(mek_last_error(model)->message, "");
    EXPECT_STREQ(mek_status_name(static_cast<mek_status>(99)), "unknown status");
    EXPECT_EQ(mek_version(),
              MEK_VERSION_NUMBER(MEK_VERSION_MAJOR, MEK_VERSION_MINOR, MEK_VERSION_PATCH));
    EXPECT_STREQ(mek_version_string(), "2.0.0");
}

TEST_F(CTest, ReportsErrorsOfFiles) {
    const auto saveTo = [this](const std::string& file) {
        const mek_status status = mek_save_to(model, file.c_str(), options);
        mek_close(model);
        return status;
    };
    require(saveTo(path("old")));
    require(mek_options_set_overwrite(options, 0));
    EXPECT_EQ(saveTo(path("old")), MEK_FILE_OPEN);
    require(mek_options_set_overwrite(options, 1));
    EXPECT_EQ(mek_save_to(model, path("none/model").c_str(), options), MEK_MISCELLANEOUS);
    EXPECT_EQ(mek_last_error(model)->system_error, ENOENT);
    require(mek_close(model));
#if !defined(_WIN32) // the message has one byte for each character there
    std::string longPath = path("");
    while (longPath.size() < 1500) {
        longPath += "\xCE\x9B"; // two bytes, so that one of two limits is in a character
    }
    for (const char* const end : {"", "x"}) {
        EXPECT_EQ(mek_save_to(model, (end + longPath).c_str(), options), MEK_MISCELLANEOUS);
        const std::string message = mek_last_error(model)->message;
        EXPECT_TRUE(message.size() == 1022 || message.size() == 1023);
        EXPECT_EQ(message.back(), '\x9B');
        require(mek_close(model));
    }
#endif
    require(mek_options_set_compression_level(options, 10));
    EXPECT_EQ(saveTo(path("old")), MEK_INVALID_ARGUMENTS);
    require(mek_options_set_compression_level(options, 1));
    open("/dev/full");
    EXPECT_EQ(mek_close(model), MEK_FILE_WRITE);
    EXPECT_EQ(mek_last_error(model)->system_error, ENOSPC);
    require(mek_close(model));
#if defined(_WIN32)
    EXPECT_EQ(saveTo("\xFF"), MEK_INVALID_ARGUMENTS);
#endif
}

TEST_F(CTest, ReportsErrorsOfCallbacks) {
    const std::vector<float> large(300000);
    const auto addWith = [&](mek_parallel_for function) {
        mek_close(model); // fails again
        mek_close(model);
        require(mek_options_set_parallel_for(options, function, nullptr));
        open(path("model"));
        return mek_add_array_f32(model, MEK_COORDINATES, large.data(), 100000, 3, &shape, 1,
                                 nullptr);
    };
    EXPECT_EQ(addWith([](void*, size_t, mek_task, void*) { return 1; }), MEK_CALLBACK_FAILED);
    EXPECT_EQ(addWith([](void*, size_t, mek_task, void*) -> int { throw 1; }), MEK_ERROR);
    EXPECT_STREQ(mek_last_error(model)->class_name, "unknown");
    EXPECT_EQ(addWith([](void*, size_t, mek_task, void*) -> int { throw std::exception(); }),
              MEK_ERROR);
    EXPECT_EQ(addWith(nullptr), MEK_OK);
}

TEST_F(CTest, KeepsTheErrorsOfThreadsApart) {
    EXPECT_EQ(mek_model_create(nullptr), MEK_MISUSE);
    std::thread([] {
        EXPECT_EQ(mek_last_error(nullptr)->status, MEK_OK);
        EXPECT_EQ(mek_close(nullptr), MEK_MISUSE);
        EXPECT_STREQ(mek_last_error(nullptr)->message, "the model is null");
    }).join();
    EXPECT_STREQ(mek_last_error(nullptr)->message, "the address of the handle is null");
    EXPECT_EQ(mek_attributes_set_u32(nullptr, "key", 1), MEK_MISUSE);
    EXPECT_STREQ(mek_last_error(nullptr)->function, "mek_attributes_set_u32");
    mek_attributes_destroy(nullptr);
    mek_properties_destroy(nullptr);
    mek_options_destroy(nullptr);
    mek_model_destroy(nullptr);
}

/// The values of the only array in a file.
template <class Element>
std::vector<Element> readBack(const std::string& file) {
    MekReader::File read(file);
    const MekReader::Variable& variable = read.nodes().at(2).variables.at(0);
    if constexpr (std::is_same_v<Element, float>) {
        return read.floats(variable);
    } else {
        return read.words(variable);
    }
}

TEST_F(CTest, ReadsStridesOfAnySignAndAlignment) {
    std::array<unsigned char, 200> bytes{};
    const auto put = [&](std::ptrdiff_t at, float value) {
        std::memcpy(bytes.data() + at, &value, sizeof value);
    };
    mek_array_options strided = MEK_ARRAY_OPTIONS_INIT;
    strided.row_stride = -51;
    strided.column_stride = 17;
    constexpr std::ptrdiff_t first = 103;
    for (std::ptrdiff_t i = 0; i < 6; ++i) {
        put(first + i / 3 * strided.row_stride + i % 3 * strided.column_stride,
            static_cast<float>(i));
    }
    open(path("model"));
    require(mek_add_array_f32(model, MEK_COORDINATES,
                              reinterpret_cast<const float*>(bytes.data() + first), 2, 3, &shape, 1,
                              &strided));
    require(mek_close(model));
    EXPECT_EQ(readBack<float>(path("model")), (std::vector<float>{0, 1, 2, 3, 4, 5}));
}

TEST_F(CTest, ConvertsIntegersAndDoubles) {
    const std::int32_t signedRows[] = {5, 2147483647};
    const std::uint32_t rows[] = {7, 4294967295};
    // the largest number that a float can have after rounding, and the next one
    const double last = std::nextafter(0x1.ffffffp127, 0);
    const double values[] = {0.1, last, 0x1.ffffffp127, -1e300, HUGE_VAL, 1e-50};
    mek_array_options array = MEK_ARRAY_OPTIONS_INIT;
    array.name = "n";
    array.base = 5;
    open(path("signed"));
    require(mek_add_array_i32(model, MEK_RESULT_A1, signedRows, 2, 1, &shape, 1, &array));
    require(mek_close(model));
    EXPECT_EQ(readBack<std::uint32_t>(path("signed")), (std::vector<std::uint32_t>{0, 2147483642}));
    array.base = 7;
    open(path("unsigned"));
    require(mek_add_array_u32(model, MEK_RESULT_A1, rows, 2, 1, &shape, 1, &array));
    array.base = -1;
    EXPECT_EQ(mek_add_array_u32(model, MEK_RESULT_A1, rows, 2, 1, &shape, 1, &array),
              MEK_VALUE_OUT_OF_RANGE);
    require(mek_close(model));
    EXPECT_EQ(readBack<std::uint32_t>(path("unsigned")),
              (std::vector<std::uint32_t>{0, 4294967288}));
    std::size_t outOfRange = 0;
    array.base = 0;
    open(path("doubles"));
    require(mek_add_array_f64(model, MEK_RESULT_A1, values, 6, 1, &shape, 1, &array, &outOfRange));
    require(mek_close(model));
    EXPECT_EQ(outOfRange, 2U);
    EXPECT_EQ(readBack<float>(path("doubles")),
              (std::vector<float>{0.1F, 0x1.fffffep127F, INFINITY, -INFINITY, INFINITY, 0}));
}

TEST_F(CTest, RecoversAModel) {
    const auto remember = [](void* context, const char* file) {
        *static_cast<std::string*>(context) = file;
    };
    std::string temporary;
    mek_recovery_report report{};
    require(mek_options_set_journal(options, 1));
    open(path("model"));
    require(addFloats(model, 2, 3));
    require(mek_checkpoint(model, MEK_DURABILITY_PROCESS));
    EXPECT_EQ(
        mek_recover(path("model").c_str(), path("recovered").c_str(), 0, nullptr, nullptr, &report),
        MEK_MISUSE);
    report.size = sizeof report;
    require(mek_recover(path("model").c_str(), path("recovered").c_str(), 0, remember, &temporary,
                        &report));
    EXPECT_EQ(temporary.find(path("recovered.")), 0U);
    EXPECT_EQ(report.saved.calls, 3U);
    EXPECT_EQ(report.saved.arrays, 1U);
    EXPECT_EQ(report.saved.bytes, 24U);
    EXPECT_EQ(report.lost.calls, 0U);
    EXPECT_STREQ(report.reason, "");
    EXPECT_EQ(readBack<float>(path("recovered")), std::vector<float>(6));
    EXPECT_EQ(
        mek_recover(path("model").c_str(), path("recovered").c_str(), 0, nullptr, nullptr, nullptr),
        MEK_FILE_OPEN);
    EXPECT_EQ(mek_last_error(nullptr)->status, MEK_FILE_OPEN);
    EXPECT_EQ(mek_last_error(model)->status, MEK_OK);
}

#if defined(__GLIBC__)
TEST_F(CTest, MakesAMillionCallsInTheSameMemory) {
    open(""); // no file: every array is refused
    mek_attributes* attributes = nullptr;
    mek_attributes_create(&attributes);
    const mek_step step = {"a step with a long name", attributes};
    mek_array_options array = MEK_ARRAY_OPTIONS_INIT;
    array.steps = &step;
    array.step_count = 1;
    std::size_t used = 0;
    for (int round = 0; round < 100000; ++round) {
        const char* file = nullptr;
        std::uint32_t id = 0;
        mek_attributes_set_string(attributes, "a key of a string", "a string with an allocation");
        mek_attributes_set_u32(attributes, "number", 1);
        EXPECT_EQ(addFloats(model, 2, 3, &array), MEK_INVALID_STATE);
        mek_attributes_clear(attributes);
        mek_temporary_path(model, &file);
        mek_set_current_node_id(model, 1);
        mek_get_node_id(model, "/root/shape/shape", nullptr, &id);
        EXPECT_EQ(id, shape);
        mek_attributes* another = nullptr;
        mek_attributes_create(&another);
        mek_set_node_data(model, 1, nullptr, another);
        mek_attributes_destroy(another);
        if (round == 100) {
            used = mallinfo2().uordblks;
        }
    }
    EXPECT_EQ(mallinfo2().uordblks, used);
    mek_attributes_destroy(attributes);
}
#endif

} // namespace
