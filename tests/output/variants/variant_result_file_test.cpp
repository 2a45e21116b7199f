#include "output/variants/variant_result_file.h"

#include <htslib/tbx.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "output/variants/encoder_fixture.h"

namespace {

class variant_result_on_disk : public encoder_fixture {
  protected:
    void SetUp() override {
        encoder_fixture::SetUp();
        give_study(1);
        header = make_variant_header(results);
        ASSERT_TRUE(header);
    }
    // A file of lines at 110, 1110, ...
    void write(const std::string& name, variant_format format, std::size_t n_lines) {
        variant_result_file file(run.log, workers, name, format, header.get());
        for (std::size_t k = 0; k < n_lines; ++k) write_one(file, format, 110 + 1000 * static_cast<long>(k));
        file.close();
    }
    void write_one(variant_result_file& file, variant_format format, long position) {
        if (format != variant_format::bcf) {
            file.write_line("20\t" + std::to_string(position) + "\trs\tA\tC\t.\t.\t.\tGT\t0/1\n", position, 1);
            return;
        }
        const hts_record record(bcf_init());
        record->pos = position - 1;
        bcf_update_alleles_str(header.get(), record.get(), "A,C");
        const std::array<std::int32_t, 2> genotype{bcf_gt_unphased(0), bcf_gt_unphased(1)};
        bcf_update_genotypes(header.get(), record.get(), genotype.data(), 2);
        file.write_record(record.get());
    }
    // The positions that an index finds in a region.
    static std::size_t n_found(const std::string& name, const std::string& region) {
        const hts_file file(hts_open(name.c_str(), "r"));
        const hts_header read(bcf_hdr_read(file.get()));
        std::size_t n = 0;
        if (name.ends_with(".bcf")) {
            hts_idx_t* index = bcf_index_load(name.c_str());
            hts_itr_t* found = bcf_itr_querys(index, read.get(), region.c_str());
            const hts_record record(bcf_init());
            while (bcf_itr_next(file.get(), found, record.get()) >= 0) ++n;
            hts_itr_destroy(found);
            hts_idx_destroy(index);
            return n;
        }
        tbx_t* index = tbx_index_load(name.c_str());
        hts_itr_t* found = tbx_itr_querys(index, region.c_str());
        kstring_t text = KS_INITIALIZE;
        while (tbx_itr_next(file.get(), index, found, &text) >= 0) ++n;
        ks_free(&text);
        tbx_itr_destroy(found);
        tbx_destroy(index);
        return n;
    }
    hts_header header;
};

TEST_F(variant_result_on_disk, plain_text_is_the_header_and_the_lines) {
    const std::string name = file("x.vcf");
    write(name, variant_format::vcf, 1);
    const std::string text = file_text(name);
    EXPECT_TRUE(text.starts_with("##fileformat=VCFv4.3\n"));
    EXPECT_TRUE(text.ends_with("\tFORMAT\tid1\n20\t110\trs\tA\tC\t.\t.\t.\tGT\t0/1\n"));
    EXPECT_FALSE(exists(name + ".tbi"));
    EXPECT_FALSE(exists(name + ".csi"));
}

TEST_F(variant_result_on_disk, index_finds_what_was_written) {
    for (const auto& [ending, index, format] :
         {std::tuple("x.vcf.gz", ".tbi", variant_format::vcf_gz), std::tuple("x.bcf", ".csi", variant_format::bcf)}) {
        const std::string name = file(ending);
        write(name, format, 20000);
        EXPECT_TRUE(exists(name + index));
        EXPECT_EQ(n_found(name, "20:110-110"), 1U);
        EXPECT_EQ(n_found(name, "20:1000000-2000000"), 1000U);
        EXPECT_EQ(n_found(name, "20:19999111-30000000"), 0U);
        EXPECT_EQ(n_found(name, "20"), 20000U);
    }
}

TEST_F(variant_result_on_disk, file_without_sites_has_an_index) {
    write(file("x.vcf.gz"), variant_format::vcf_gz, 0);
    write(file("x.bcf"), variant_format::bcf, 0);
    EXPECT_EQ(notes(), "");
    EXPECT_EQ(n_found(file("x.bcf"), "20"), 0U);
    EXPECT_TRUE(exists(file("x.vcf.gz.tbi")));
}

TEST_F(variant_result_on_disk, index_is_not_older_than_the_file) {
    const std::string name = file("x.vcf.gz");
    write(name, variant_format::vcf_gz, 10);
    EXPECT_GE(std::filesystem::last_write_time(name + ".tbi"), std::filesystem::last_write_time(name));
}

TEST_F(variant_result_on_disk, index_of_an_earlier_file_does_not_stay) {
    const std::string name = file("x.vcf.gz");
    std::ofstream(name + ".csi") << "old";
    write(name, variant_format::vcf_gz, 1);
    EXPECT_FALSE(exists(name + ".csi"));
}

TEST_F(variant_result_on_disk, file_that_cannot_be_opened_is_named) {
    const std::string name = file("no_such_folder/x.bcf");
    write(name, variant_format::bcf, 1);
    EXPECT_EQ(notes(), "orvide: cannot write [" + name + "]: No such file or directory\n");
    EXPECT_TRUE(run.log.any_result_failed());
}

TEST_F(variant_result_on_disk, full_disk_is_named_once_and_leaves_no_index) {
    for (const auto& [ending, format] :
         {std::pair("x.vcf", variant_format::vcf), std::pair("x.bcf", variant_format::bcf),
          std::pair("x.vcf.gz", variant_format::vcf_gz)}) {
        const std::string name = file(ending);
        std::filesystem::create_symlink("/dev/full", name);
        capture.notes.str("");
        write(name, format, 20000);
        EXPECT_EQ(notes(), "orvide: cannot write [" + name + "] to its end: No space left on device\n");
        EXPECT_FALSE(exists(name + ".tbi"));
        EXPECT_FALSE(exists(name + ".csi"));
    }
    EXPECT_TRUE(run.log.any_result_failed());
}

TEST_F(variant_result_on_disk, index_that_cannot_be_written_is_named) {
    const std::string name = file("x.bcf");
    std::filesystem::create_directories(name + ".csi/in_the_way");
    write(name, variant_format::bcf, 1);
    EXPECT_EQ(notes(), "orvide: cannot write [" + name + ".csi]: Is a directory\n");
}

TEST_F(variant_result_on_disk, exception_leaves_the_older_file_and_its_index) {
    for (const auto& [name, index, format] :
         {std::tuple(file("x.bcf"), file("x.bcf.csi"), variant_format::bcf),
          std::tuple(file("x.vcf.gz"), file("x.vcf.gz.tbi"), variant_format::vcf_gz)}) {
        std::ofstream(name) << "old";
        std::ofstream(index) << "old index";
        try {
            variant_result_file out(run.log, workers, name, format, header.get());
            write_one(out, format, 110);
            EXPECT_EQ(file_text(name), "old");
            throw run_end{1};
        } catch (const run_end&) {
        }
        EXPECT_EQ(file_text(name), "old");
        EXPECT_EQ(file_text(index), "old index");
    }
    EXPECT_EQ(notes(), "");
}

TEST_F(variant_result_on_disk, record_that_could_not_be_made_is_a_failure) {
    const std::string name = file("x.bcf");
    {
        variant_result_file out(run.log, workers, name, variant_format::bcf, header.get());
        out.write_record(nullptr);
    }
    EXPECT_EQ(notes(), "orvide: cannot write [" + name + "] to its end: Input/output error\n");
}

}  // namespace
