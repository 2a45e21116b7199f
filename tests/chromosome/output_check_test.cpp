#include "chromosome/output_check.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "io/run_log.h"
#include "support/temporary_folder.h"

namespace {

struct output_check : testing::Test {
    temporary_folder files;
    std::ostringstream notes;
    run_log log{notes, notes};

    bool is_refused(const std::string& output, const std::vector<std::string>& inputs) {
        try {
            refuse_to_overwrite_input(log, output, inputs);
        } catch (const run_end& end) {
            EXPECT_EQ(end.status, 1);
            EXPECT_EQ(notes.str(), "\nERROR: The file [" + output + "] cannot be read and written at once.\n\n");
            notes.str("");
            return true;
        }
        return false;
    }
};

TEST_F(output_check, an_input_is_refused_by_every_name) {
    const std::string input = files.write("in", "text");
    std::filesystem::create_symlink(input, files.name("link"));
    std::filesystem::create_hard_link(input, files.name("hard"));
    for (const char* name : {"in", "link", "hard", "./in"}) {
        EXPECT_TRUE(is_refused(files.name(name), {files.name("other"), input})) << name;
    }
}

TEST_F(output_check, an_index_of_an_input_is_refused) {
    EXPECT_TRUE(is_refused(files.name("a.vcf.gz.tbi"), {files.name("a.vcf.gz")}));
    EXPECT_TRUE(is_refused(files.name("a.bcf.csi"), {files.name("a.bcf")}));
}

TEST_F(output_check, other_files_and_devices_may_be_written) {
    EXPECT_FALSE(is_refused(files.name("out"), {files.name("in")}));
    EXPECT_FALSE(is_refused("/dev/null", {"/dev/null"}));
}

}  // namespace
