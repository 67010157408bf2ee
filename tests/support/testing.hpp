/// @file
/// What the tests share: bytes as hex text, a folder per test, the environment, failures by
/// message.
#pragma once

#include <tyr/exception/exception.hpp>

#include "support/environment.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace Testing {

inline std::string hex(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += text.empty() ? "" : " ";
        text += digits[value >> 4];
        text += digits[value & 0xF];
    }
    return text;
}

/// A name in the folder for temporary files that is used once. A test with a parameter has a slash
/// in its name.
inline std::filesystem::path temporaryPath(std::string name) {
    std::replace(name.begin(), name.end(), '/', '-');
    return std::filesystem::temp_directory_path() /
           ("mekapi2-" + std::to_string(std::random_device()()) + "-" + name);
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// A test with a folder of its own, which is removed with it.
class FolderTest : public ::testing::Test {
protected:
    FolderTest() {
        const auto* const info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = temporaryPath(info->name());
        std::filesystem::create_directories(folder);
    }
    ~FolderTest() override { std::filesystem::remove_all(folder); }

    std::string path(const std::string& name) const { return (folder / name).string(); }

    std::filesystem::path folder;
};

/// Sets or unsets the block size variable as long as it lives.
class BlockSizeVariable {
public:
    explicit BlockSizeVariable(const char* value) { setEnvironment(name, value); }
    BlockSizeVariable(const BlockSizeVariable&) = delete;
    BlockSizeVariable& operator=(const BlockSizeVariable&) = delete;
    ~BlockSizeVariable() { setEnvironment(name, nullptr); }

private:
    static constexpr const char* name = "MEKWRITER_DEFAULT_BLOCK_SIZE";
};

/// The message of the failure of class `Failure` that `action` raises.
template <class Failure, class Action>
std::string messageOf(const Action& action) {
    try {
        action();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "no error";
}

} // namespace Testing

/// Ends a test with literal compressed bytes where the library was built with something else than
/// zlib, which is as right and packs otherwise.
#define TYR_NEEDS_BYTES_OF_ZLIB()    \
    if (!TYR_TEST_HAS_BYTES_OF_ZLIB) \
    GTEST_SKIP() << "the expected bytes are those of zlib"
