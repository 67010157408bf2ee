#include <mekapi2.h>

#include "mekreader/model.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <array>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Testing;
using Call = std::function<mek_status(mek_model*)>;
using Floats = std::vector<float>;
using Words = std::vector<std::uint32_t>;

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

    /// The values of the only array in the file "model", which is closed.
    /// @{
    Floats closedFloats() {
        require(mek_close(model));
        MekReader::File file(path("model"));
        return file.floats(file.nodes().at(2).variables.at(0));
    }
    Words closedWords() {
        require(mek_close(model));
        MekReader::File file(path("model"));
        return file.words(file.nodes().at(2).variables.at(0));
    }
    /// @}

    void require(mek_status status) const {
        ASSERT_EQ(mek_status_name(status), std::string("MEK_OK")) << mek_last_error(model)->message;
    }

    mek_model* model = nullptr;
    mek_options* options = nullptr;
};

constexpr mek_step noStep = {nullptr, nullptr};
constexpr mek_array_options defaults = MEK_ARRAY_OPTIONS_INIT;

mek_array_options optionsWith(std::size_t size, std::int32_t base, const mek_step* steps) {
    return {size, nullptr, steps, 0, nullptr, 0, 0, base, 0};
}

mek_status addFloats(mek_model* model, std::size_t rows, std::size_t columns,
                     const mek_array_options& options = defaults, std::uint32_t id = shape) {
    static const float values[6] = {};
    return mek_add_array_f32(model, MEK_COORDINATES, values, rows, columns, &id, 1, &options);
}

struct Expected {
    mek_status status;
    const char* className;
    const char* message; ///< its start
    Call call;
};

mek_status setTransparencyOf(mek_model* model, bool isArray) {
    const float value = 1;
    mek_properties* properties = nullptr;
    mek_properties_create(&properties);
    EXPECT_EQ(mek_properties_set_f32_array(properties, MEK_TRANSPARENCY, &value, SIZE_MAX / 4 + 1),
              MEK_NO_MEMORY);
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

const char* const otherRoot = "/other/group/";
const char* const twice[] = {"/root/a", "/root/a"};
const mek_attributes* const noAttributes[] = {nullptr, nullptr};
const std::int32_t fromOne[] = {1, 0};
const mek_array_options base1 = optionsWith(sizeof base1, 1, nullptr);
const mek_array_options reserved1 = {sizeof reserved1, nullptr, nullptr, 0, nullptr, 0, 0, 0, 1};
const double point[] = {0, HUGE_VAL, -1e39};

const Expected expectations[] = {
    {MEK_INVALID_STATE, "InvalidObjectState", "Not Empty",
     [](auto* to) { return mek_save_to(to, "", nullptr); }},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "unknown durability",
     [](auto* to) { return mek_checkpoint(to, 2); }},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "invalid array size",
     [](auto* to) { return setTransparencyOf(to, true); }},
    {MEK_INVALID_ARGUMENTS, "InvalidArguments", "the path /root/a is given twice",
     [](auto* to) {
         return mek_add_assembly_components_with_attributes(to, twice, noAttributes, 2, nullptr,
                                                            nullptr);
     }},
    {MEK_WRONG_TYPE, "TemplateSpecializationNotDefined", "Template specialization not defined",
     [](auto* to) { return setTransparencyOf(to, false); }},
    {MEK_OUT_OF_BOUNDS, "OutOfBounds", "Out of bounds error",
     [](auto* to) { return mek_set_current_node_id(to, 9); }},
    {MEK_OVERFLOW, "OverflowError", "2^31 or more rows",
     [](auto* to) { return addFloats(to, std::size_t{1} << 31, 3); }},
    {MEK_OVERFLOW, "OverflowError", "2^31 or more rows, columns",
     [](auto* to) { return addFloats(to, 0, std::size_t{1} << 61); }},
    {MEK_OVERFLOW, "OverflowError", "an array of 2^32 bytes",
     [](auto* to) { return addFloats(to, std::size_t{1} << 30, 3); }},
    {MEK_KEY_NOT_FOUND, "KeyNotFound", "Key not found",
     [](auto* to) { return addFloats(to, 1, 3, defaults, 9); }},
    {MEK_NOT_YET_IMPLEMENTED, "NotYetImplemented", "Not yet implemented",
     [](auto* to) { return mek_add_assembly_components(to, &otherRoot, 1, nullptr, nullptr); }},
    {MEK_NO_MEMORY, "std::length_error", "",
     [](auto* to) { return mek_add_assembly_components(to, &otherRoot, SIZE_MAX, "/", nullptr); }},
    {MEK_MISUSE, "Misuse", "the name is null",
     [](auto* to) { return mek_add_node(to, MEK_GROUP, nullptr, nullptr, nullptr); }},
    {MEK_MISUSE, "Misuse", "the address of the id is null",
     [](auto* to) { return mek_get_node_id(to, "/root", nullptr, nullptr); }},
    {MEK_MISUSE, "Misuse", "the array of values is null",
     [](auto* to) {
         return mek_add_array_u32(to, MEK_NODE_IDS, nullptr, 1, 1, &shape, 1, nullptr);
     }},
    {MEK_MISUSE, "Misuse", "the reserved member of mek_array_options is not 0",
     [](auto* to) { return addFloats(to, 1, 3, reserved1); }},
    {MEK_MISUSE, "Misuse", "mek_array_options has a size of 18446744073709551615",
     [](auto* to) { return addFloats(to, 1, 3, optionsWith(SIZE_MAX, 0, nullptr)); }},
    {MEK_MISUSE, "Misuse", "mek_array_options has a size of 7",
     [](auto* to) { // of a later version, with a member that this version does not know
         mek_array_options later[2] = {optionsWith(sizeof defaults + 8, 0, nullptr), {}};
         const mek_status accepted = addFloats(to, 1, 3, later[0]);
         later[1].size = 1;
         return accepted == MEK_OK ? addFloats(to, 1, 3, later[0]) : accepted;
     }},
    {MEK_MISUSE, "Misuse", "step_count is 0",
     [](auto* to) { return addFloats(to, 1, 3, optionsWith(sizeof defaults, 0, &noStep)); }},
    {MEK_MISUSE, "Misuse", "base is for integers",
     [](auto* to) { return addFloats(to, 1, 3, base1); }},
    {MEK_VALUE_OUT_OF_RANGE, "ValueOutOfRange",
     "the value 0 in row 1 and column 0, both counted from 0, is out of range: expected 1 to "
     "4294967296",
     [](auto* to) {
         return mek_add_array_i32(to, MEK_CONNECTIVITY_0, fromOne, 2, 1, &shape, 1, &base1);
     }},
    {MEK_VALUE_OUT_OF_RANGE, "ValueOutOfRange", "the value -1e+39 in row 0 and column 2",
     [](auto* to) {
         return mek_add_array_f64(to, MEK_COORDINATES, point, 1, 3, &shape, 1, nullptr, nullptr);
     }},
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
        const bool isOfLibrary = error->line > 0; // else the interface refuses the call
        EXPECT_EQ(std::string(error->file).find("tyr/") == 0, isOfLibrary) << error->file;
        EXPECT_EQ(std::string(error->function).find("mek_") == 0, !isOfLibrary) << error->function;
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
    require(mek_options_set_replace_when_complete(options, 1));
    EXPECT_EQ(mek_save_to(model, path("old").c_str(), options), MEK_FILE_OPEN);
    EXPECT_EQ(mek_last_error(model)->system_error, 0);
    require(mek_close(model));
    require(mek_options_set_replace_when_complete(options, 0));
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

TEST_F(CTest, ReadsStridesOfAnySignAndAlignment) {
    std::array<unsigned char, 200> bytes{};
    const unsigned char* const first = bytes.data() + 103;
    mek_array_options strided = MEK_ARRAY_OPTIONS_INIT;
    strided.row_stride = -51;
    strided.column_stride = 17;
    for (int i = 0; i < 6; ++i) {
        const auto value = static_cast<float>(i);
        std::memcpy(bytes.data() + 103 - i / 3 * 51 + i % 3 * 17, &value, sizeof value);
    }
    open(path("model"));
    require(mek_add_array_f32(model, MEK_COORDINATES, reinterpret_cast<const float*>(first), 2, 3,
                              &shape, 1, &strided));
    EXPECT_EQ(closedFloats(), (Floats{0, 1, 2, 3, 4, 5}));
}

TEST_F(CTest, ConvertsIntegersAndDoubles) {
    const std::int32_t signedRows[] = {5, 2147483647};
    const std::uint32_t rows[] = {7, 4294967295};
    // the largest number that a float can have after rounding, and the next one
    const double last = std::nextafter(0x1.ffffffp127, 0);
    const double values[] = {0.1, last, 0x1.ffffffp127, -1e300, HUGE_VAL, 1e-50};
    const double none = std::nan("");
    mek_array_options array = MEK_ARRAY_OPTIONS_INIT;
    array.name = "n";
    array.base = 5;
    open(path("model"));
    require(mek_add_array_i32(model, MEK_RESULT_A1, signedRows, 2, 1, &shape, 1, &array));
    EXPECT_EQ(closedWords(), (Words{0, 2147483642}));
    array.base = 7;
    open(path("model"));
    require(mek_add_array_u32(model, MEK_RESULT_A1, rows, 2, 1, &shape, 1, &array));
    array.base = -1;
    EXPECT_EQ(mek_add_array_u32(model, MEK_RESULT_A1, rows, 2, 1, &shape, 1, &array),
              MEK_VALUE_OUT_OF_RANGE);
    EXPECT_EQ(closedWords(), (Words{0, 4294967288}));
    std::size_t outOfRange = 0;
    array.base = 0;
    open(path("model"));
    std::feclearexcept(FE_ALL_EXCEPT);
    require(mek_add_array_f64(model, MEK_RESULT_A1, &none, 1, 1, &shape, 1, &array, nullptr));
    require(mek_add_array_f64(model, MEK_RESULT_A1, values, 6, 1, &shape, 1, &array, &outOfRange));
    EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_OVERFLOW), 0); // ends programs that trap them
    EXPECT_EQ(outOfRange, 2U);
    EXPECT_EQ(closedFloats(), (Floats{0.1F, 0x1.fffffep127F, INFINITY, -INFINITY, INFINITY, 0}));
}

TEST_F(CTest, RecoversAModel) {
    std::string temporary;
    mek_recovery_report report{};
    const auto recover = [&] {
        return mek_recover(
            path("model").c_str(), path("recovered").c_str(), 0,
            [](void* context, const char* file) { *static_cast<std::string*>(context) = file; },
            &temporary, &report);
    };
    require(mek_options_set_journal(options, 1));
    open(path("model"));
    require(addFloats(model, 2, 3));
    require(mek_checkpoint(model, MEK_DURABILITY_PROCESS));
    EXPECT_EQ(recover(), MEK_MISUSE);
    report.size = sizeof report;
    require(recover());
    EXPECT_EQ(temporary.find(path("recovered.")), 0U);
    EXPECT_EQ(report.saved.calls, 3U);
    EXPECT_EQ(report.saved.arrays, 1U);
    EXPECT_EQ(report.saved.bytes, 24U);
    EXPECT_EQ(report.lost.calls, 0U);
    EXPECT_STREQ(report.reason, "");
    EXPECT_EQ(recover(), MEK_FILE_OPEN);
    EXPECT_EQ(mek_last_error(nullptr)->status, MEK_FILE_OPEN);
    EXPECT_EQ(mek_last_error(model)->status, MEK_OK);
    require(mek_close(model));
    EXPECT_EQ(withoutDate(path("recovered")), withoutDate(path("model")));
}

} // namespace
