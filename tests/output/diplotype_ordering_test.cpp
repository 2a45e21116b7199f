#include "output/diplotype_ordering.h"

#include "output_fixture.h"

namespace {

class diplotype_ordering : public output_fixture {};

TEST_F(diplotype_ordering, says_who_is_ordered) {
    give_study(3);
    run.panels[2].ordered = {true, false, true};
    run.params.o_gz = true;  // never compressed
    write_diplotype_ordering(results);
    EXPECT_EQ(text_of(path("_diplotype_ordering")),
              "sample_index internal_diplotype_status\n0 ordered\n1 unordered\n2 ordered\n");
}

}  // namespace
