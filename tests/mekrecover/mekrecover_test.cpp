/// The program: what it saves, what it reports, and each kind of input that it refuses.
#include "mekreader/model.hpp"
#include "support/program.hpp"
#include "support/testing.hpp"
#include "support/withoutdate.hpp"

#include <tyr/mek2/model.hpp>

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;

class MekRecoverTest : public Testing::ProgramTest {
protected:
    /// Leaves `run.mek` with three blocks, of which the first two are promised, and its journal.
    MekRecoverTest() {
        SaverOptions options;
        options.journal = true;
        model_.saveTo("run.mek", options);
        model_.addNode(NodeType::RootGroup, "R");
        const unsigned int id = model_.addNode(NodeType::Shape, "S");
        for (const char* step : {"1", "2", "3"}) {
            model_.addArrayProperty("T", DatasetType::ResultA3, Array2d<float>(2, 3, values), id,
                                    Step{step});
            model_.checkpoint();
        }
    }

    static void expectRun(const std::string& command, int exitCode, const std::string& output,
                          const std::string& errors) {
        const Testing::Run run = Testing::run("mekrecover " + command);
        EXPECT_EQ(run.exitCode, exitCode) << command;
        EXPECT_EQ(run.output, output) << command;
        EXPECT_EQ(run.errors, errors) << command;
    }

    static void expectError(const std::string& command, const std::string& error) {
        expectRun(command, 1, "", "mekrecover: " + error + '\n');
    }

    /// Replaces bytes of a file, or cuts it if there are none.
    static void change(const std::string& name, std::size_t position, const std::string& bytes) {
        if (bytes.empty()) {
            std::filesystem::resize_file(name, position);
            return;
        }
        std::fstream file(name, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(position)) << bytes;
    }

    const std::vector<float> values{1, 2, 3, 4, 5, 6};

private:
    Model model_;
};

TEST_F(MekRecoverTest, SavesWhatIsWholeAndReportsTheRest) {
    const std::string saved = ": saved 5 calls, 3 arrays, 3 steps, 72 bytes of arrays\n";
    expectRun("run.mek", 0, "run.recovered.mek" + saved, ""); // the writer is still there
    expectRun("--output other.mek run.mek.journal", 0, "other.mek" + saved, "");
    EXPECT_EQ(Testing::withoutDate("run.recovered.mek"), Testing::withoutDate("other.mek"));

    std::filesystem::create_directory("cut");
    std::filesystem::copy_file("run.mek", "cut/run.mek");
    std::filesystem::copy_file("run.mek.journal", "cut/run.mek.journal");
    change("cut/run.mek", std::filesystem::file_size("run.mek") - 1, "");
    const std::string counts =
        "cut/run.recovered.mek: saved 4 calls, 2 arrays, 2 steps, 48 bytes of arrays\n"
        "cut/run.recovered.mek: lost 1 call, 1 array, 1 step, 24 bytes of arrays\n";
    const std::string reason = "mekrecover: cut/run.mek: the array \"T\" is not whole in the file";
    expectRun("cut/run.mek", 1, counts, reason + '\n');
    MekReader::check("cut/run.recovered.mek");
    {
        MekReader::File file("cut/run.recovered.mek"); // Windows replaces no open file
        EXPECT_EQ(file.floats(file.nodes()[2].variables[1]), values);
    }

    std::ofstream("cut/run.mek", std::ios::binary) << Testing::readFile("run.mek");
    const std::size_t journalLength = Testing::readFile("run.mek.journal").size();
    change("cut/run.mek.journal", journalLength - 1, "");
    expectRun("--overwrite cut/run.mek", 1, counts,
              reason + "; the journal has no whole record at byte " +
                  std::to_string(journalLength - 52) + ", and its last 51 bytes are lost\n");
}

TEST_F(MekRecoverTest, RefusesEachKindOfUnsuitableInput) {
    std::filesystem::create_directory("folder");
    std::filesystem::copy_file("run.mek", "alone.mek");
    std::filesystem::copy_file("run.mek", "other.mek");
    std::filesystem::copy_file("run.mek.journal", "other.mek.journal");
    std::ofstream("text.mek") << "text";
    std::ofstream("a.mek.journal") << "text";
    EXPECT_EQ(Testing::run("mekrecover run.mek").exitCode, 0);
    expectError("folder", "folder: Is a directory");
    expectError("run.mek --overwrite --output folder", "folder: Is a directory");
    expectError("run.mek --overwrite --output none/a",
                "none/a: Unable to open file \"none/a\": No such file or directory");
    expectError("run.mek", "run.recovered.mek: exists; use --overwrite to replace it");
    expectError("run.mek --overwrite --output run.mek", "run.mek: is an input");
    expectError("alone.mek", "alone.mek: has no journal; --blocks shows what is whole");
    expectError("text.mek", "text.mek: not a model file");
    expectError("a.mek", "a.mek.journal: is not a journal");
    expectError("run.recovered.mek", "run.recovered.mek: is complete; mekinfo shows it");
    expectError("--blocks run.recovered.mek", "run.recovered.mek: is complete; mekinfo shows it");
    expectError("--blocks text.mek", "text.mek: not a model file");
    change("run.mek", 2790, "other");
    expectError("--overwrite run.mek", "run.mek.journal: is the journal of another file");
    change("run.mek.journal", 8, std::string(1, '\x02'));
    expectError("--overwrite run.mek", "run.mek.journal: is a journal of a later version");
    expectRun("", 2, "", "mekrecover: UNFINISHED is required; see mekrecover --help\n");
    expectRun("--blocks --output a run.mek", 2, "",
              "mekrecover: --output excludes --blocks; see mekrecover --help\n");
}

TEST_F(MekRecoverTest, ExtractsWholeBlocksWithoutAJournal) {
    std::filesystem::copy_file("run.mek", "alone.mek");
    const std::string bytes = Testing::readFile("run.mek");
    const std::size_t length = (bytes.size() - 2800) / 3;
    const auto block = [length](std::size_t number) {
        return "block " + std::to_string(number) + ": position " +
               std::to_string(2800 + number * length) + ", stored length " +
               std::to_string(length) + ", content length 24\n";
    };
    const std::string lost = " bytes of arrays; their names, types, nodes and steps are lost\n";
    expectRun("--blocks alone.mek", 0,
              block(0) + block(1) + block(2) + "alone.mek: 3 whole blocks, 72" + lost, "");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 3);

    change("alone.mek", 2800 + length + 8, "?"); // inside the second block
    expectRun("--blocks --extract raw alone.mek", 1,
              block(0) + "alone.mek: 1 whole blocks, 24" + lost,
              "mekrecover: alone.mek: the " + std::to_string(2 * length) + " bytes from byte " +
                  std::to_string(2800 + length) + " on are no whole block\n");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("raw"), {}), 1);
    // for each column the lowest bytes of both rows, and so on
    EXPECT_EQ(Testing::hex(Testing::readFile("raw/block-000000.bin")),
              "00 00 00 00 80 80 3F 40 00 00 00 00 00 A0 40 40 00 00 00 00 40 C0 40 40");
    change("alone.mek", 2000, "");
    expectRun("--blocks alone.mek", 1, "alone.mek: 0 whole blocks, 0" + lost,
              "mekrecover: alone.mek: has no block\n");
}

TEST_F(MekRecoverTest, SkipsTablesOfTheIndex) {
    const Testing::BlockSizeVariable blockSize("4");
    SaverOptions options;
    options.journal = true;
    options.replaceWhenComplete = true;
    Model model;
    model.saveTo("many.mek", options);
    model.addNode(NodeType::RootGroup, "R");
    const unsigned int id = model.addNode(NodeType::Shape, "S");
    const Array1d<float> array{1, 2};
    for (int i = 0; i < 240; ++i) {
        model.addArrayProperty("T", DatasetType::ResultA1, array, id, Step{std::to_string(i)});
    }
    model.checkpoint();

    expectRun("many.mek", 0,
              "many.recovered.mek: saved 242 calls, 240 arrays, 240 steps, 1920 bytes of arrays\n",
              "");
    MekReader::check("many.recovered.mek");
    const std::string temporary = Testing::partIn(".");
    expectError(temporary, "many.recovered.mek: exists; use --overwrite to replace it");
    const Testing::Run blocks = Testing::run("mekrecover --blocks " + temporary);
    EXPECT_EQ(blocks.exitCode, 0) << blocks.errors;
    EXPECT_NE(blocks.output.find(": 240 whole blocks, 1920 bytes"), std::string::npos);
    EXPECT_EQ(blocks.output.find("block 219:"), std::string::npos);

    // as if the process ended in `close`, after the file had its name
    std::filesystem::copy_file("many.mek.journal", "journal");
    model.close();
    std::filesystem::rename("journal", "many.mek.journal");
    expectError("--overwrite many.mek", "many.mek: is complete, and the file of its journal, \"" +
                                            temporary + "\", is missing");
    std::ofstream(temporary).flush(); // as if it ended before
    options.overwrite = true;
    Model().saveTo("many.mek", options);
    EXPECT_FALSE(std::filesystem::exists(temporary));
}

} // namespace
