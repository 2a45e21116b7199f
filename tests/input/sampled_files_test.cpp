#include "input/sampled_files.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace {

TEST(sampled_files, are_named_by_the_option_of_the_panel) {
    EXPECT_EQ("-hap_samp_in_h", sampled_option(0));
    EXPECT_EQ("-hap_samp_in_g_ref", sampled_option(1));
    EXPECT_EQ("-hap_samp_in_g", sampled_option(2));
    EXPECT_EQ("-reading sampled haplotypes for Panel 1 from -hap_samp_in_g_ref file", sampled_stage_text(1));
}

TEST(sampled_files, of_an_iteration_are_read_plain_before_compressed) {
    const temporary_folder files;
    parameters params;
    params.hap_samp_in_g = files.name("samp");
    params.hap_samp_in_h = files.name("ref");
    EXPECT_EQ(files.name("samp_hapsamp3.gz"), request_sampled(params, 2, 3).file) << "as long as there is none";
    files.write("samp_hapsamp3.gz", "");
    files.write("samp_hapsamp3", "");
    EXPECT_EQ(files.name("samp_hapsamp3"), request_sampled(params, 2, 3).file);
    EXPECT_EQ(files.name("samp_hapsamp4.gz"), request_sampled(params, 2, 4).file);
    EXPECT_EQ(files.name("ref_hapsamp3.gz"), request_sampled(params, 0, 3).file);
}

TEST(sampled_files, are_asked_for_in_words_of_the_panel) {
    const source_request request = request_sampled(parameters(), 1, 1);
    EXPECT_EQ("Panel 1 hapsamp file", request.words);
    EXPECT_EQ("ERROR: The -hap_samp_in_g_ref file you specified does not exist.", request.missing_text);
    EXPECT_EQ("", request.legend);
}

}  // namespace
