/// @file
/// A test of the file of one write cycle.
#pragma once

#include "fault/writecycles.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <fstream>
#include <string>

namespace Testing {

class WrittenFileTest : public FolderTest {
protected:
    /// One result makes a file with one index table, 22 make one with two, and 230 one with three
    /// of which blocks are written early.
    void write(unsigned int results) {
        const BlockSizeVariable blockSize(results == 1 ? nullptr : "200");
        WriteCycles(folder.string(), Reaction::GoOn, results).run(1);
        file_ = std::fstream(path("first"), std::ios::binary | std::ios::out | std::ios::in);
    }

    void overwrite(std::size_t position, const std::string& bytes) {
        file_.seekp(static_cast<std::streamoff>(position));
        file_.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
    }

    std::string checkError() const {
        return messageOf<MekReader::Error>([&] { MekReader::check(path("first")); });
    }

    std::string written() const { return readFile(path("first")); }

private:
    std::fstream file_;
};

} // namespace Testing
