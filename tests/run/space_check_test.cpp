#include "run/space_check.h"

#include <gtest/gtest.h>

#include "model/data.h"
#include "support/log_capture.h"

namespace {

class space_check : public ::testing::Test {
  protected:
    space_check() {
        run.plan.n_study = 100;
        run.plan.int_lower_bp = 1;
        run.plan.int_upper_bp = 10;
        run.plan.output_types = {true, false, false, true};
        for (std::size_t s = 0; s < 12; ++s) {
            snp& site = run.sites.store.emplace(static_cast<long>(s), snp())->second;
            site.type = s < 4 ? 0 : 1;
            run.sites.in_order.push_back(&site);
            run.sites.positions.push_back(static_cast<long>(s));
        }
    }
    log_capture capture;
    data run{capture.terminal, capture.notes};
};

TEST_F(space_check, counts_the_genotypes_that_are_written) {
    const file_room text = main_output_size(run);
    EXPECT_EQ(3 * 100 * 6.0, text.least) << "three sites are of a type that is written, and in the interval";
    EXPECT_LT(text.least, text.usual);
}

TEST_F(space_check, expects_less_of_compressed_output) {
    const file_room text = main_output_size(run);
    run.params.o_gz = true;
    EXPECT_GT(text.least, 10 * main_output_size(run).least);
    run.params.o_gz = false;
    run.params.o_file = "out.bcf";
    EXPECT_GT(text.least, 10 * main_output_size(run).least);
    run.params.o_file = "out.vcf";
    EXPECT_LT(text.usual, main_output_size(run).usual);
}

TEST_F(space_check, expects_nothing_where_nothing_is_written) {
    run.params.suppress_imputation_output = true;
    EXPECT_EQ(0.0, main_output_size(run).usual);
}

TEST_F(space_check, passes_over_devices) {
    run.plan.n_study = 1000000000000000;
    run.params.o_file = "/dev/null";
    require_space(run);
    EXPECT_EQ("", capture.notes.str());
}

TEST_F(space_check, ends_the_run_where_a_disk_has_no_room) {
    run.plan.n_study = 1000000000000000;
    run.params.o_file = capture.files.name("out");
    EXPECT_THROW(require_space(run), run_end);
    EXPECT_NE(std::string::npos, capture.terminal.str().find("ERROR: The main output [" + run.params.o_file +
                                                             "] takes at least 18000000000 MB, there is room for "));
}

}  // namespace
