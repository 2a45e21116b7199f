#include "threads/ordered_jobs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

class jobs_of : public ::testing::TestWithParam<std::size_t> {
  protected:
    void SetUp() override { workers.start(GetParam()); }
    worker_pool workers;
};

TEST_P(jobs_of, many_are_all_done_and_each_once) {
    std::vector<int> done(500, 0);
    ordered_jobs jobs(workers);
    for (int& one : done) {
        jobs.add([&one](std::size_t) { ++one; });
    }
    EXPECT_EQ(500U, jobs.size());
    jobs.take_all();
    EXPECT_EQ(0U, jobs.size());
    EXPECT_EQ(std::vector<int>(500, 1), done);
}

TEST_P(jobs_of, one_worker_have_its_workspace_for_themselves) {
    std::vector<std::vector<std::size_t>> by_worker(workers.size());
    ordered_jobs jobs(workers);
    for (std::size_t i = 0; i < 300; ++i) {
        jobs.add([&by_worker, i](std::size_t worker) { by_worker.at(worker).push_back(i); });
    }
    jobs.take_all();
    std::size_t n = 0;
    for (const auto& list : by_worker) n += list.size();
    EXPECT_EQ(300U, n);
}

TEST_P(jobs_of, the_front_are_taken_first_whoever_ends_first) {
    std::vector<std::string> results(40);
    std::string taken;
    ordered_jobs jobs(workers);
    for (std::size_t i = 0; i < results.size(); ++i) {
        jobs.add([&results, i](std::size_t) {
            double sum = 0.0;  // the first ones take longest
            for (std::size_t k = 0; k < (40 - i) * 1000; ++k) sum += static_cast<double>(k);
            results[i] = std::to_string(i) + (sum < 0.0 ? "?" : " ");
        });
    }
    std::string expected;
    for (std::size_t i = 0; i < results.size(); ++i) {
        jobs.take_first();
        taken += results[i];
        expected += std::to_string(i) + " ";
    }
    EXPECT_EQ(expected, taken);
}

TEST_P(jobs_of, which_fail_throw_when_they_are_taken_and_the_others_go_on) {
    std::atomic<int> n_done = 0;
    ordered_jobs jobs(workers);
    for (int i = 0; i < 6; ++i) {
        jobs.add([&n_done, i](std::size_t) {
            if (i == 2 || i == 4) throw std::runtime_error(std::to_string(i));
            ++n_done;
        });
    }
    jobs.take_first();
    jobs.take_first();
    for (const char* words : {"2", "4"}) {
        try {
            jobs.take_all();
            FAIL() << "nothing thrown";
        } catch (const std::runtime_error& failure) {
            EXPECT_STREQ(words, failure.what());
        }
    }
    jobs.take_all();
    EXPECT_EQ(4, n_done);
}

TEST_P(jobs_of, a_list_that_ends_untaken_are_waited_for) {
    std::vector<int> done(50, 0);
    {
        ordered_jobs jobs(workers);
        for (int& one : done) {
            jobs.add([&one](std::size_t) {
                one = 1;
                throw std::runtime_error("lost");
            });
        }
    }
    EXPECT_EQ(std::vector<int>(50, 1), done);
}

TEST_P(jobs_of, a_second_list_share_the_workers) {
    std::vector<int> first(20, 0), second(20, 0);
    ordered_jobs some(workers), others(workers);
    for (std::size_t i = 0; i < 20; ++i) {
        some.add([&first, i](std::size_t) { first[i] = 1; });
        others.add([&second, i](std::size_t) { second[i] = 2; });
    }
    others.take_all();
    EXPECT_EQ(std::vector<int>(20, 2), second);
    some.take_all();
    EXPECT_EQ(std::vector<int>(20, 1), first);
}

TEST_P(jobs_of, products_come_in_their_order) {
    std::string taken;
    make_in_order<std::string>(
        workers, 50, [](std::size_t, std::size_t i, std::string& product) { product = std::to_string(i) + " "; },
        [&taken](const std::string& product) { taken += product; });
    std::string expected;
    for (std::size_t i = 0; i < 50; ++i) expected += std::to_string(i) + " ";
    EXPECT_EQ(expected, taken);
}

TEST_P(jobs_of, a_product_that_fails_ends_the_making_behind_those_before_it) {
    std::vector<std::size_t> taken;
    const auto make = [](std::size_t, std::size_t i, std::size_t& product) {
        if (i == 7) throw std::runtime_error("seven");
        product = i;
    };
    EXPECT_THROW(make_in_order<std::size_t>(workers, 50, make, [&taken](std::size_t i) { taken.push_back(i); }),
                 std::runtime_error);
    EXPECT_EQ((std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6}), taken);
}

INSTANTIATE_TEST_SUITE_P(threads, jobs_of, ::testing::Values(1, 2, 3, 8));

TEST(ordered_jobs, of_one_thread_are_done_as_they_are_added) {
    worker_pool alone;
    EXPECT_EQ(1U, alone.size());
    ordered_jobs jobs(alone);
    std::size_t by = 7;
    jobs.add([&by](std::size_t worker) { by = worker; });
    EXPECT_EQ(0U, by);
}

TEST(ordered_jobs, of_two_threads_go_on_beside_each_other) {
    worker_pool workers;
    workers.start(2);
    std::mutex mutex;
    std::condition_variable met;
    int n_there = 0;
    const auto meet = [&](std::size_t) {  // neither ends without the other
        std::unique_lock lock(mutex);
        ++n_there;
        met.notify_all();
        met.wait(lock, [&] { return n_there == 2; });
    };
    ordered_jobs jobs(workers);
    jobs.add(meet);
    jobs.add(meet);
    jobs.take_all();
    EXPECT_EQ(2, n_there);
}

}  // namespace
