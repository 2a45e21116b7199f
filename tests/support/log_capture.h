#pragma once

// The channels of a run, and expectations on what ended it.

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include "io/run_log.h"
#include "support/temporary_folder.h"

// The two streams behind a log, and the folder with its summary and warnings.
struct log_capture {
    temporary_folder files;
    std::ostringstream terminal, notes;

    std::string summary() const { return files.read("summary"); }
    std::string warnings() const { return files.read("warnings"); }
    // Opens summary and warnings, or the summary alone.
    void open(run_log& log, bool warn = true) const {
        log.open(files.name("summary"), warn ? files.name("warnings") : "NULL");
    }
};

// The call ends the run with the status, and says the text last, framed by empty lines, on terminal and summary.
inline void expect_end(const log_capture& capture, const std::string& text, int status,
                       const std::function<void()>& call) {
    try {
        call();
        ADD_FAILURE() << "the run went on; expected: " << text;
        return;
    } catch (const run_end& end) {
        EXPECT_EQ(status, end.status);
    }
    const std::string framed = "\n" + text + "\n\n";
    const auto end_of = [&framed](const std::string& said) {
        return said.size() > framed.size() ? said.substr(said.size() - framed.size()) : said;
    };
    EXPECT_EQ(framed, end_of(capture.terminal.str()));
    EXPECT_EQ(framed, end_of(capture.summary()));
}
