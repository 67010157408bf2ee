/// @file
/// Fixture of the tests of the public interface.
#pragma once

#include <tyr/mek2/model.hpp>

#include "mekreader/model.hpp"
#include "support/testing.hpp"

#include <map>
#include <string>
#include <vector>

namespace Testing {

/// A model with an open write cycle. `closed` closes it and reads the file.
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
