#pragma once

// Which fields a genotype has in a main output in VCF or BCF (-format_fields).

struct variant_fields {
    bool gt = false;   // genotype
    bool ds = false;   // dosage of the second allele
    bool gp = false;   // genotype probabilities
    bool hds = false;  // dosage of each haplotype
    bool pq = false;   // confidence of the phase
    // By the user's list: every line has all of them. Else a line has the last two where it has a value for them.
    bool listed = false;
};
