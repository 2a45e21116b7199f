#include "output/block_writing.h"

#include <filesystem>
#include <numeric>
#include <string>

#include "output_fixture.h"

namespace {

// Writes a line a site; ends at site 90 under -pgs.
class number_formatter {
  public:
    explicit number_formatter(const result_inputs& run) : run_(run) {}
    void write(std::span<const std::size_t> block, result_text& lines) const {
        for (const std::size_t s : block) {
            if (s == 90 && run_.params.pgs) throw run_fault("ERROR: site 90");
            lines.integer(static_cast<long>(s));
            lines.end_line();
        }
    }

  private:
    const result_inputs& run_;
};

class blocks : public output_fixture {
  protected:
    std::string written(std::size_t n_sites) {
        std::vector<std::size_t> sites(n_sites);
        std::iota(sites.begin(), sites.end(), 0);
        {
            result_file file(run.log, capture.files.name("out"), false);
            write_blocks<number_formatter>(results, file, sites);
        }
        return capture.files.read("out");
    }
    static std::string numbers(std::size_t n) {
        std::string text;
        for (std::size_t s = 0; s < n; ++s) text += std::to_string(s) + "\n";
        return text;
    }
};

TEST_F(blocks, are_written_in_their_order) {
    for (const std::size_t n_threads : {1U, 2U, 4U}) {
        workers.start(n_threads);
        for (const std::size_t n : {0U, 1U, 16U, 17U, 999U}) EXPECT_EQ(numbers(n), written(n)) << n_threads;
    }
}

TEST_F(blocks, end_the_run_with_the_first_fault_and_leave_no_result) {
    run.params.pgs = true;
    for (const std::size_t n_threads : {1U, 4U}) {
        workers.start(n_threads);
        expect_fatal("ERROR: site 90", [&] { written(999); });
        EXPECT_FALSE(std::filesystem::exists(capture.files.name("out")));
        capture.open(run.log);
    }
}

}  // namespace
