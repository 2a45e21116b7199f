// Whole runs give the same bytes whatever instruction set the kernels use.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "inference/kernels/kernels.h"
#include "random/random.h"
#include "run/program.h"
#include "support/temporary_folder.h"

namespace {

using result_files = std::map<std::string, std::string>;  // end of the name -> content

// Runs the example data at a level of the kernels. Gives the files but the summary, which tells of times.
result_files results_at(kernels::level level, const temporary_folder& folder, const std::vector<std::string>& options) {
    const std::string examples = std::string(ORVIDE_SOURCE_DIR) + "/examples/";
    const std::string out = folder.name("level" + std::to_string(static_cast<int>(level)));
    std::vector<std::string> entries{"orvide",
                                     "-m",
                                     examples + "map.txt",
                                     "-h",
                                     examples + "ref.hap.gz",
                                     "-l",
                                     examples + "ref.legend.gz",
                                     "-g",
                                     examples + "study.gen.gz",
                                     "-int",
                                     "1100000",
                                     "1200000",
                                     "-buffer",
                                     "20",
                                     "-iter",
                                     "4",
                                     "-burnin",
                                     "1",
                                     "-seed",
                                     "1",
                                     "-o",
                                     out};
    entries.insert(entries.end(), options.begin(), options.end());
    std::ostringstream terminal, notes;
    kernels::choose(level);
    EXPECT_EQ(0, run_program(entries, terminal, notes)) << terminal.str();
    result_files files;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(out).parent_path())) {
        const std::string name = entry.path().string();
        if (!name.starts_with(out) || name.ends_with("_summary")) continue;
        std::ifstream in(name, std::ios::binary);
        files[name.substr(out.size())] = {std::istreambuf_iterator<char>(in), {}};
    }
    return files;
}

class whole_runs : public testing::TestWithParam<std::vector<std::string>> {
  protected:
    void TearDown() override {
        for (const auto l : {kernels::level::baseline, kernels::level::avx2, kernels::level::avx512}) {
            if (kernels::available(l)) kernels::choose(l);
        }
        Random::RNG = generator_;
    }
    temporary_folder folder_;

  private:
    Random* const generator_ = Random::RNG;
};

TEST_P(whole_runs, give_the_same_bytes_at_every_level_of_the_kernels) {
    const result_files expected = results_at(kernels::level::baseline, folder_, GetParam());
    ASSERT_FALSE(expected.at("").empty());
    for (const auto l : {kernels::level::avx2, kernels::level::avx512}) {
        if (!kernels::available(l)) continue;
        const result_files found = results_at(l, folder_, GetParam());
        ASSERT_EQ(expected.size(), found.size());
        for (const auto& [name, content] : expected) {
            EXPECT_TRUE(content == found.at(name)) << "level " << static_cast<int>(l) << ", file " << name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(options, whole_runs,
                         testing::Values(std::vector<std::string>{}, std::vector<std::string>{"-pgs", "-k", "37"},
                                         std::vector<std::string>{"-phase", "-k_hap", "90"},
                                         std::vector<std::string>{"-mem_save_1", "-pgs"},
                                         std::vector<std::string>{"-use_old_code", "-k", "30"}));

}  // namespace
