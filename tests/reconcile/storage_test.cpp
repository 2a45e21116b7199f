#include "reconcile/storage.h"

#include "reconcile_fixture.h"

namespace {

// A reference and a study of three people, with a typed site.
class storage : public reconcile_fixture {
  protected:
    void SetUp() override {
        reconcile_fixture::SetUp();
        give_panel0(4);
        give_study(3);
        run.panels[2].ordered.assign(3, false);
        run.panels[2].needs_update = true;
        run.plan.n_iterations = 4;
        run.plan.burnin = 1;
        add_site(110, 0);
        add_site(120, 2);
        pack_haplotypes(run.params, run.plan, run.panels, run.sites);
    }
    void set_up() {
        setup_storage(run.log, run.params, {1, 0, 1, 0}, run.plan, run.panels, run.sites, run.models, run.acc);
    }
    std::string positions_file(const std::string& text) {
        run.params.intermed_posns_file = capture.files.write("positions", text);
        return run.params.intermed_posns_file;
    }
    static constexpr const char* stage = "\n-setting storage space\n";
};

TEST_F(storage, follows_from_the_iterations_and_the_sites) {
    set_up();
    EXPECT_EQ((std::vector<int>{1, 2, 3}), run.plan.stored_iters);
    EXPECT_EQ(2U, run.sites.traits.size());
    EXPECT_EQ(std::vector<std::size_t>{1}, run.models.chains[1][2][2].site);
    EXPECT_TRUE(run.acc.gtype_acc[0].has(0));
    EXPECT_EQ(0U, run.models.chains[1][2][2].interval) << "no checkpoints";
    expect_log(stage);
}

TEST_F(storage, has_checkpoints_where_memory_is_saved) {
    run.params.mem_save_1 = true;
    set_up();
    EXPECT_EQ(1U, run.models.chains[1][2][2].interval);
}

TEST_F(storage, refuses_more_individuals_than_there_are) {
    run.params.nind = 3;
    set_up();
    run.params.nind = 4;
    expect_end(capture, "ERROR: The -nind value (4) is larger than the number of individuals in the study (3).", 1,
               [this] { set_up(); });
}

TEST_F(storage, reads_the_positions_of_count_files) {
    const std::string name = positions_file("130 x\n\n 110\n");
    set_up();
    EXPECT_TRUE(run.plan.intermed_posns.empty()) << "nobody counts";
    run.params.counts_per_iter = true;
    set_up();
    EXPECT_EQ((std::vector<long>{130, 110}), run.plan.intermed_posns);
    expect_log(std::string(stage) + stage +
               "\n-reading positions of SNPs for intermediate gtype count printing\n --filename=[" + name + "]\n");
}

TEST_F(storage, refuses_a_position_that_is_no_number) {
    const std::string name = positions_file("110\nrs5\n");
    run.params.counts_wt_per_iter = true;
    expect_end(capture, "ERROR: \"rs5\" is no position, in line 2 of the file [" + name + "].", 1,
               [this] { set_up(); });
}

}  // namespace
