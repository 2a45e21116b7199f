#pragma once

// A random source that gives the draws of a list; installed as long as it lives.

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>
#include <vector>

#include "random/random.h"

class listed_draws : public Random {
  public:
    explicit listed_draws(std::vector<double> draws = {}) : draws_(std::move(draws)), old_(Random::RNG) {
        Random::Set(*this);
    }
    ~listed_draws() override { Random::RNG = old_; }
    listed_draws(const listed_draws&) = delete;
    listed_draws& operator=(const listed_draws&) = delete;
    // Lengthens the list.
    void add(const std::vector<double>& draws) { draws_.insert(draws_.end(), draws.begin(), draws.end()); }
    // A draw past the end of the list is a failure.
    double Next() override {
        if (used_up()) {
            ADD_FAILURE() << "more draws than expected";
            return 0.5;
        }
        return draws_[n_taken_++];
    }
    std::size_t n_taken() const { return n_taken_; }
    bool used_up() const { return n_taken_ == draws_.size(); }

  private:
    std::vector<double> draws_;
    std::size_t n_taken_ = 0;
    Random* old_;
};
