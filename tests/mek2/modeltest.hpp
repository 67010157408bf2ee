/// @file
/// What the tests of the public interface share.
#pragma once

#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <map>
#include <string>
#include <vector>

namespace Testing {

/// A model in a write cycle, read back once it is closed.
class ModelTest : public FolderTest {
protected:
    ModelTest() { model.saveTo(path("out")); }

    MekReader::File closed() {
        model.close();
        MekReader::check(path("out"));
        return MekReader::File(path("out"));
    }

    Tyr::Mek2::Model model;
};

} // namespace Testing
