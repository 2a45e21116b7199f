#pragma once

// Opens files that a test writes.

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "input/formats/format_table.h"
#include "io/run_log.h"
#include "support/log_capture.h"

class format_fixture : public ::testing::Test {
  protected:
    void SetUp() override { capture.open(log); }
    // A request for a file with this text.
    source_request request_for(const std::string& text) const {
        source_request request;
        request.file = capture.files.write("data", text);
        request.words = "data file";
        request.missing_text = "missing";
        return request;
    }
    // A source that reads this text.
    template <typename Format>
    Format open(const std::string& text) {
        const source_request request = request_for(text);
        return Format(log, request, open_input(log, request));
    }
    // The end of a message about a line of the file.
    std::string in_line(int n) const {
        return ", in line " + std::to_string(n) + " of the file [" + capture.files.name("data") + "].";
    }
    void expect_fatal(const std::string& text, const std::function<void()>& call) {
        expect_end(capture, text, 1, call);
        capture.open(log);
    }
    // IDs, position and labels of a site.
    static std::string names(const site_fields& site) {
        return std::string(site.snp_id) + " " + std::string(site.rs_id) + " " + std::to_string(site.position) + " " +
               std::string(site.a0) + " " + std::string(site.a1);
    }
    log_capture capture;
    run_log log{capture.terminal, capture.notes};
};
