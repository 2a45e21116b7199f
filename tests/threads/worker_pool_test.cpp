#include "threads/worker_pool.h"

#include <gtest/gtest.h>

namespace {

TEST(worker_pool, counts_the_thread_that_asks) {
    worker_pool workers;
    EXPECT_EQ(1U, workers.size());
    workers.start(1);
    EXPECT_EQ(1U, workers.size());
    workers.start(3);
    EXPECT_EQ(3U, workers.size());
    workers.start(2);
    EXPECT_EQ(3U, workers.size()) << "nobody is sent home";
}

TEST(worker_pool, ends_without_having_worked) {
    worker_pool workers;
    workers.start(4);
}

}  // namespace
