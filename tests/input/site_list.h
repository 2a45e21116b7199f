#pragma once

// A source whose sites a test lists.

#include <string>
#include <vector>

#include "input/site_source.h"
#include "io/run_log.h"

class site_list : public site_source {
  public:
    site_list(run_log& log, std::vector<site_fields> sites) : log_(log), sites_(std::move(sites)) {}
    bool next(site_fields& site) override {
        if (n_taken == sites_.size()) return false;
        site = sites_[n_taken++];
        return true;
    }
    bool next_behind(site_fields& site) override { return next(site); }
    [[noreturn]] void fail(std::string_view what) const override { log_.fatal("site list: " + std::string(what)); }
    void note(std::string_view what) const override { log_.note("site list: " + std::string(what)); }
    void odd(std::string_view what, std::string_view taken) const override {
        log_.odd_input("Site list: " + std::string(what) + ": " + std::string(taken));
    }
    std::vector<std::string> values() override { return values_of_sites.at(n_taken - 1); }

    std::size_t n_taken = 0;
    std::vector<std::vector<std::string>> values_of_sites;

  private:
    run_log& log_;
    std::vector<site_fields> sites_;
};
