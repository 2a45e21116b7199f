#pragma once

// Opens VCF that a test writes.

#include <functional>
#include <string>
#include <vector>

#include "input/formats/format_fixture.h"
#include "support/variant_files.h"

class variant_fixture : public format_fixture {
  protected:
    // A request for positions 100 to 900 of a file that is there, with the interval 200 to 800.
    static source_request request_of(const std::string& file) {
        source_request request;
        request.file = file;
        request.words = "data file";
        request.missing_text = "missing";
        request.option = "-g";
        request.lower = 100;
        request.upper = 900;
        request.interval_lower = 200;
        request.interval_upper = 800;
        return request;
    }
    source_request request_for_records(const std::string& samples, const std::vector<std::string>& records) const {
        return request_of(capture.files.write("data", vcf_text(samples, records)));
    }
    template <typename Format>
    Format open_request(const source_request& request) {
        return Format(log, request, open_input(log, request));
    }
    template <typename Format>
    Format open_records(const std::string& samples, const std::vector<std::string>& records) {
        return open_request<Format>(request_for_records(samples, records));
    }
    // The end of a message about a record.
    std::string in_record(const std::string& place) const {
        return ", in the record " + place + " of the file [" + capture.files.name("data") + "].";
    }
    std::string note_of(const std::string& place, const std::string& text) const {
        return "orvide: note: [" + capture.files.name("data") + "], the record " + place + ": " + text + "\n";
    }
    std::string notes() const { return capture.notes.str(); }
    // The names of all sites that are left, one a line.
    template <typename Source>
    static std::string rest_of(Source& source) {
        site_fields site;
        std::string text;
        while (source.next(site)) text += names(site) + "\n";
        return text;
    }
};
