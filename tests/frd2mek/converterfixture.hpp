/// @file
/// Runs the converter as a user does, and finds things in what it writes.
#pragma once

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace Testing {

constexpr float missing = std::numeric_limits<float>::quiet_NaN();

inline std::vector<std::uint32_t> bitsOf(const std::vector<float>& values) {
    std::vector<std::uint32_t> bits(values.size());
    if (!values.empty()) {
        std::memcpy(bits.data(), values.data(), 4 * values.size());
    }
    return bits;
}

class ConverterTest : public FolderTest {
protected:
    struct Run {
        int exitCode;
        std::string output; ///< on both streams
    };

    Run convert(const std::string& arguments) const {
        const std::string program = std::filesystem::absolute(FRD2MEK).make_preferred().string();
        const std::string output = temporaryPath("output").string();
        const std::string goTo = std::filesystem::path::preferred_separator == '/' ? "cd" : "cd /d";
        const int status = std::system((goTo + " \"" + folder.string() + "\" && \"" + program +
                                        "\" " + arguments + " > \"" + output + "\" 2>&1")
                                           .c_str());
        Run run{status, readFile(output)};
        std::filesystem::remove(output);
#if !defined(_WIN32)
        run.exitCode = WEXITSTATUS(status);
#endif
        return run;
    }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
    }

    /// Converts job.frd with this text and gives the checked model.
    MekReader::File converted(const std::string& text) const {
        write("job.frd", text);
        const Run result = convert("job.frd --overwrite");
        EXPECT_EQ(result.exitCode, 0) << result.output;
        MekReader::check(path("job.mek"));
        return MekReader::File(path("job.mek"));
    }
};

/// The geometry at the end of a path of names, "job/STEEL/HE8".
inline const MekReader::Node& geometry(const MekReader::File& file, const std::string& path) {
    const auto pathOf = [&](const MekReader::Node& node) {
        std::string names;
        for (std::uint32_t id = node.parent; id != 0; id = file.nodes()[id - 1].parent) {
            names = file.nodes()[id - 1].name + (names.empty() ? "" : "/") + names;
        }
        return names;
    };
    for (const MekReader::Node& node : file.nodes()) {
        if (node.type == "Geometry" && pathOf(node) == path) {
            return node;
        }
    }
    throw std::runtime_error("no shape " + path);
}

/// @param step empty for the mesh
inline const MekReader::Variable& variable(const MekReader::Node& node, const std::string& name,
                                           const std::string& step = "") {
    const std::string wanted = name + (step.empty() ? "" : "\x1E" + step);
    for (const MekReader::Variable& candidate : node.variables) {
        if (candidate.name == wanted) {
            return candidate;
        }
    }
    throw std::runtime_error("no variable " + wanted);
}

} // namespace Testing
