#include "mekreader/model.hpp"
#include "support/program.hpp"
#include "support/testing.hpp"

#include <tyr/mek2/model.hpp>
#include <tyr/version.hpp>

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <unistd.h>

#include <csignal>
#endif

#include <algorithm>
#include <array>
#include <fstream>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace {

/// A command, its exit code, and words of each stream. Without words the stream must be empty.
struct Case {
    const char* command;
    int exitCode;
    const char* output;
    const char* errors;
};

class CommandLineTest : public Testing::ProgramTest {
protected:
    CommandLineTest() {
        std::filesystem::copy_file(Testing::seedFolder / "short", "job.frd");
        std::filesystem::create_directory("folder");
        Testing::run("frd2mek job.frd model.mek");
    }

    static void expect(const std::vector<Case>& cases) {
        for (const auto& [command, exitCode, output, errors] : cases) {
            const Testing::Run run = Testing::run(command);
            EXPECT_EQ(run.exitCode, exitCode) << command << '\n' << run.errors;
            expectWords(run.output, output, command);
            expectWords(run.errors, errors, command);
            if (exitCode != 0 && !run.errors.empty()) {
                EXPECT_EQ(std::count(run.errors.begin(), run.errors.end(), '\n'), 1) << command;
            }
        }
    }

private:
    static void expectWords(const std::string& text, const std::string& words,
                            const std::string& command) {
        EXPECT_NE(text.find(words), std::string::npos)
            << command << "\nwanted " << words << "\nfound  " << text;
        EXPECT_EQ(text.empty(), words.empty()) << command << '\n' << text;
    }
};

TEST_F(CommandLineTest, FollowsOneConvention) {
    expect({
        {"frd2mek -h job.frd", 0, "Exit codes:\n  0  ", ""},
        {"mekinfo -V", 0, "mekinfo " MEKAPI2_VERSION_STRING "\n", ""},
        {"mekinfo model.mek --verbose", 2, "", "mekinfo: unknown option --verbose; see"},
        {"mekinfo --vtu out --check model.mek", 2, "", "mekinfo: --check excludes --vtu; see"},
        {"mekinfo --raw model.mek", 2, "", "mekinfo: --raw requires --vtu; see"},
        {"mekinfo a.mek --array /R", 2, "", "mekinfo: --array needs PATH VARIABLE; see"},
        {"mekinfo --array /R T a.mek b.mek", 2, "", "mekinfo: --array: needs a single FILE; see"},
        {"mekinfo --array /R T a.mek --format 1", 2, "", "--format: 1 not in {csv,npy,raw}; see"},
        {"mekinfo --vtu out model.mek folder/model.mek", 2, "",
         "mekinfo: --vtu: another file has the name of folder/model.mek; see"},
        {"frd2mek --threads -1 a.frd", 2, "",
         "frd2mek: --threads: needs a number from 0 to 1024; "},
        {"frd2mek", 2, "", "frd2mek: INPUT.frd is required; see frd2mek --help\n"},
        {"mekinfo --vtu \"\" model.mek", 2, "", "mekinfo: an argument is empty; see"},
        {"frd2mek job.frd", 0, "job.mek: 4 nodes, 4 elements, 3 shapes, 8 results, 1 step, ", ""},
        {"frd2mek job.frd", 1, "", "frd2mek: job.mek: exists; use --overwrite to replace it\n"},
        {"frd2mek job.frd --overwrite", 0, " bytes in, ", ""},
        {"frd2mek --overwrite job.frd -- -other.mek", 0, "-other.mek: ", ""},
    });
    MekReader::check("-other.mek");
}

TEST_F(CommandLineTest, InspectsManyFiles) {
    const std::string bytes = Testing::readFile("model.mek");
    std::ofstream("cut.mek", std::ios::binary) << bytes.substr(0, 2000);
    std::filesystem::copy_file("cut.mek", "run.mek");
    std::ofstream("run.mek.journal").flush();
    std::filesystem::copy_file("model.mek", "other.mek");
    const std::string facts =
        ": OK, 10 nodes, 39 variables, " + std::to_string(bytes.size()) + " bytes";
    const std::string valid = "model.mek" + facts + "; meshes not checked, see --lint\n";
    const std::string invalid =
        "cut.mek: INVALID, file is unfinished: it ends before the end of its index\n";
    const std::string twoValid = valid + invalid + "other.mek" + facts;
    const std::string linted = "model.mek" + facts + "\nmodel.mek: OK, no findings\n";
    const Testing::Run listing = Testing::run("mekinfo --all model.mek");
    const std::string listings =
        "model.mek:\n" + listing.output + "\nother.mek:\n" + listing.output;
    expect({
        {"mekinfo --check model.mek cut.mek other.mek", 1, twoValid.c_str(), ""},
        {"mekinfo --check none.mek model.mek", 1, valid.c_str(),
         "mekinfo: none.mek: No such file or directory\n"},
        {"mekinfo --quiet --check cut.mek", 1, invalid.c_str(), ""},
        {"mekinfo --lint --check model.mek", 0, linted.c_str(), ""},
        {"mekinfo --lint cut.mek", 1, "", "mekinfo: cut.mek: file is unfinished: "},
        {"mekinfo run.mek", 1, "", "its index; mekrecover makes a complete file\n"},
        {"mekinfo --all model.mek other.mek", 0, listings.c_str(), ""},
        {"mekinfo --vtu=out other.mek model.mek", 0, " 4 mesh parts, 1 step, 4 files\n", ""},
        {"mekinfo --vtu=out --raw model.mek -q", 0, "", ""},
        {"mekinfo --vtu out -- model.mek --quiet", 1, "out", "mekinfo: --quiet: No such file"},
    });
    EXPECT_TRUE(std::filesystem::exists("out/other.pvd"));
}

class ArrayTest : public CommandLineTest {
protected:
    /// A shape with the coordinates of two nodes and a result.
    ArrayTest() {
        const std::vector<float> result{-1.5F, std::numeric_limits<float>::quiet_NaN(), 0.1F};
        using namespace Tyr::Mek2;
        Attributes attributes;
        attributes.set("not UTF-8: \xFF", 0.1F);
        Model model;
        model.saveTo("v.mek");
        model.addNode(NodeType::RootGroup, "R/1", attributes);
        const unsigned int id = model.addNode(NodeType::Shape, "S");
        model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(2, 3, {1, 2, 3, 4, 5, 6}),
                               id, Step{});
        model.addArrayProperty(DatasetType::NodeIds, Array1d<unsigned int>{7U, 4294967295U}, id,
                               Step{});
        model.addArrayProperty("T", DatasetType::ResultA1, Array1d<float>(result), id, Step{"1"});
        model.close();
    }
};

TEST_F(ArrayTest, IsWrittenInEachFormat) {
    using namespace std::string_literals;
    expect({
        {"mekinfo --array /R/1/S T --step 1 v.mek", 0, "-1.5\nnan\n0.1\n", ""},
        {"mekinfo v.mek --array R/1/S/S Coordinates", 0, "1,2,3\n4,5,6\n", ""},
        {"mekinfo --array /R/1/S T --step 1 v.mek --format raw --output t.raw", 0,
         "t.raw: 3 rows of 1 value\n", ""},
        {"mekinfo -q --array /R/1/S Coordinates v.mek --format npy --output c.npy", 0, "", ""},
        {"mekinfo -q --array /R/1/S \"Node Ids\" v.mek --format npy --output i.npy", 0, "", ""},
        {"mekinfo --array /R/1/S T --step 1 v.mek --output t.raw", 1, "",
         "mekinfo: t.raw: exists; use --overwrite to replace it\n"},
        {"mekinfo --array /R/1/S T v.mek", 1, "",
         "v.mek: variable \"T\" has no array without a step; steps: \"1\"\n"},
        {"mekinfo --array /R/1/S T --step 2 v.mek", 1, "", " of step \"2\"; steps: \"1\"\n"},
        {"mekinfo --array /R/1/S U v.mek", 1, "",
         "\"/R/1/S\" has no variable \"U\"; variables: \"Coordinates\", \"Node Ids\", \"T\"\n"},
        {"mekinfo --array /R/1 T v.mek", 1, "", "node \"/R/1\" has no variables; nodes with"},
        {"mekinfo --array /R/S T v.mek", 1, "",
         "v.mek: no node \"/R/S\"; nodes with variables: \"/R/1/S\"\n"},
    });
    EXPECT_EQ(Testing::readFile("t.raw"), "\x00\x00\xC0\xBF\x00\x00\xC0\x7F\xCD\xCC\xCC\x3D"s);
    EXPECT_EQ(Testing::readFile("c.npy"),
              "\x93NUMPY\x01\x00\x76\x00"
              "{'descr': '<f4', 'fortran_order': False, 'shape': (2, 3), }"s +
                  std::string(58, ' ') +
                  "\n\x00\x00\x80\x3F\x00\x00\x00\x40\x00\x00\x40\x40"
                  "\x00\x00\x80\x40\x00\x00\xA0\x40\x00\x00\xC0\x40"s);
    EXPECT_EQ(Testing::readFile("i.npy"),
              "\x93NUMPY\x01\x00\x76\x00"
              "{'descr': '<u4', 'fortran_order': False, 'shape': (2,), }"s +
                  std::string(60, ' ') + "\n\x07\x00\x00\x00\xFF\xFF\xFF\xFF"s);
}

TEST_F(ArrayTest, IsDescribed) {
    expect({
        {"mekinfo v.mek", 0,
         "tree     1 group, 1 shape\nmesh     2 nodes, 0 elements\nsteps    1, \"1\"\n"
         "results  1\n\nshape   nodes  elements  results\n/R/1/S      2         -        1\n\n"
         "result  of     components  steps\nT       nodes           1      1\n",
         ""},
        {"mekinfo --stats v.mek", 0,
         "path    variable     step  rows  minimum     maximum         mean  NaN\n"
         "/R/1/S  Coordinates  -        2        1           6          3.5    0\n"
         "/R/1/S  Node Ids     -        2        7  4294967295  2.14748e+09    0\n"
         "/R/1/S  T            1        3     -1.5         0.1         -0.7    1\n",
         ""},
        {"mekinfo --lint v.mek model.mek", 1,
         "v.mek: node 3 (/R/1/S), variable \"T\", step \"1\": ", ""},
        {"mekinfo --json v.mek", 0, R"("key":"not UTF-8: �","type":"f32","value":0.1})", ""},
        {"mekinfo --json --stats v.mek v.mek", 0,
         "}]}]}\n{\"schema\":1,\"file\":\"v.mek\",\"container\":\"1.3\",\"size\":", ""},
        {"mekinfo --json --stats v.mek", 0,
         R"({"name":"T","step":"1","type":12,"elementType":"f32","rows":3,"width":1,"link":null,)"
         R"("vibration":false,"attributes":[],"statistics":{"minimum":-1.5,"maximum":0.1,"mean":-0.6999)",
         ""},
    });
}

TEST_F(CommandLineTest, GivesTheReasonOfTheSystem) {
    expect({
        {"frd2mek none.frd", 1, "", "frd2mek: none.frd: No such file or directory\n"},
        {"frd2mek -", 1, "", "frd2mek: -: needs a regular file, not standard input\n"},
        {"frd2mek job.frd -", 1, "", "frd2mek: -: needs a regular file, not standard output\n"},
        {"frd2mek job.frd folder --overwrite", 1, "", "frd2mek: folder: Is a directory\n"},
        {"frd2mek job.frd job.frd --overwrite", 1, "", "frd2mek: job.frd: is the input itself\n"},
        {"mekinfo --vtu model.mek/out model.mek", 1, "", "Not a directory\n"},
    });
}

TEST_F(CommandLineTest, NamesForeignFiles) {
    using namespace std::string_view_literals;
    const std::string tar = std::string(257, 'a') + "ustar";
    using Foreign = std::tuple<const char*, std::string_view, const char*>;
    for (const auto& [name, bytes, error] :
         {Foreign{"a.gz", "\x1F\x8B\x08", "this is a gzip file; decompress it first"},
          {"a.xz", "\xFD\x37zXZ\0\0"sv, "this is an xz file; decompress it first"},
          {"a.tar", tar, "this is a tar archive; extract the file first"},
          {"a.vtu", "<?xml version=\"1.0\"?>\n<VTKFile type=\"UnstructuredGrid\">\n",
           "this is a VTK XML file"},
          {"a.inp", "** a comment\r\n\r\n*Heading\r\n",
           "this is an input deck; solve it and convert the .frd file"},
          {"empty", "", "the file is empty"}}) {
        std::ofstream(name, std::ios::binary) << bytes;
        const std::string message = std::string(": ") + error + '\n';
        const std::string command = "frd2mek " + std::string(name);
        expect({{command.c_str(), 1, "", message.c_str()}});
    }
    std::ofstream("a.txt") << "notes\n";
    expect({
        {"frd2mek model.mek a.mek", 1, "", ": this is a model file; mekinfo shows it\n"},
        {"mekinfo job.frd", 1, "",
         "mekinfo: job.frd: this is a result file of the solver; convert it with frd2mek\n"},
        {"mekinfo a.txt", 1, "", "mekinfo: a.txt: not a model file\n"},
        {"mekinfo --check a.gz", 1, "a.gz: INVALID, this is a gzip file; decompress it first\n",
         ""},
    });
}

#if !defined(_WIN32)

TEST_F(CommandLineTest, ReportsWhatCannotBeWritten) {
    expect({
        {"frd2mek --help > /dev/full", 1, "",
         "frd2mek: standard output: No space left on device\n"},
        {"frd2mek --version >&-", 1, "", "frd2mek: standard output: Bad file descriptor\n"},
        {"frd2mek job.frd /dev/full", 1, "", "frd2mek: /dev/full: needs a regular file\n"},
        {"mekinfo model.mek > /dev/full", 1, "",
         "mekinfo: standard output: No space left on device\n"},
        {"mkfifo pipe && frd2mek pipe", 1, "", "frd2mek: pipe: needs a regular file\n"},
        // standard error must not become the number of the output file
        {"frd2mek --overwrite job.frd 2>&-", 0, "job.mek: ", ""},
        // as a full disk: every write after the first bytes fails
        {"trap '' XFSZ; ulimit -f 1; frd2mek job.frd full.mek", 1, "",
         "frd2mek: full.mek: File too large\n"},
        {"ulimit -f 1; frd2mek job.frd full.mek", 128 + SIGXFSZ, "", ""},
        {"trap '' XFSZ; ulimit -f 1; mekinfo --vtu full model.mek", 1, "",
         "mekinfo: full/model-0-TR3-0.vtu: File too large\n"},
        {"ulimit -f 1; mekinfo --vtu killed/deep model.mek", 128 + SIGXFSZ, "", ""},
    });
    EXPECT_EQ(names(), "folder job.frd job.mek model.mek pipe ");
}

TEST_F(CommandLineTest, IsCompletedByBash) {
    const auto completed = [](const std::string& words) {
        return Testing::run("bash -c '. " COMPLETION "; COMP_WORDS=(" + words +
                            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _mekapi2 $COMP_WORDS; "
                            "printf \"%s \" \"${COMPREPLY[@]}\"'")
            .output;
    };
    EXPECT_EQ(completed("mekinfo --st"), "--stats --step ");
    EXPECT_EQ(completed("mekinfo --format = n"), "npy ");
    EXPECT_EQ(completed("mekinfo --vtu \"\""), "folder ");
    EXPECT_EQ(completed("frd2mek --overwrite \"\""), "folder job.frd ");
}

TEST_F(CommandLineTest, EndsQuietlyIfNobodyReads) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    close(ends[0]);
    const std::string toClosedPipe = " >&" + std::to_string(ends[1]);

    const Testing::Run killed = Testing::run("frd2mek --help" + toClosedPipe);
    const Testing::Run ignoring = Testing::run("trap '' PIPE; frd2mek --help" + toClosedPipe);

    EXPECT_EQ(killed.exitCode, 128 + SIGPIPE);
    EXPECT_EQ(ignoring.exitCode, 1);
    EXPECT_EQ(killed.errors + ignoring.errors, "");
    close(ends[1]);
}

#endif

} // namespace
