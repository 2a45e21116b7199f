#pragma once

// One update of one haplotype or individual: the sweep over the conditioning states in hand, the walk back, and what
// becomes of its draws and posteriors.

struct data;

struct haploid_update {
    int ind = 0;
    int hap = 0;  // index in the panel
    int panel = 0;
    int cond_panel = 0;
    int strand = 0;        // which of the individual's haplotypes: 0 or 1
    int known_index = -1;  // place among the individuals with known haplotypes
    bool sample = false;
    bool save_alleles = false;  // count the drawn alleles
    bool backward = false;
    bool genotype_probs = false;  // add genotype posteriors to the sums
    bool allele_probs = false;    // keep allele posteriors for the individual's counts
    bool selfcheck = false;       // posteriors of typed sites without their own observation
    bool stored = false;          // the iteration counts
};

// Returns the log10 likelihood of the haplotype.
double update_haploid(data& run, const haploid_update& update);

struct diploid_update {
    int ind = 0;
    int hap = 0;  // index of the first haplotype
    int panel = 0;
    int known_index = -1;
    bool backward = false;
    bool genotype_probs = false;
    bool stored = false;
    bool keep_all_tables = false;  // also under memory saving
};

// An individual of unknown phase. Returns the log10 likelihood of its genotypes.
double update_diploid(data& run, const diploid_update& update);

// An individual whose two haplotypes are told apart.
void update_ordered(data& run, const diploid_update& update);

// What a stored iteration knows of a study individual that needs no update: its genotypes and known alleles.
void record_known_individual(data& run, int ind, int known_index);

// Completes the holes of one haplotype from another panel.
void fill_holes_of_haplotype(data& run, int hap, int panel, int from_panel);
