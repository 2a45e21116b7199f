#pragma once

// Whether a panel names the alleles of a site as the reference does.

#include "model/snp.h"

// Whether the panel's alleles are those of the reference in the other order. Of a panel with one allele only: whether
// that allele is the reference's allele 1.
bool labels_are_crossed(const panel_labels& panel, const panel_labels& reference);

// Whether the two alleles are the reference's, in either order. Of a panel with one allele only: whether that allele is
// one of the reference's.
bool labels_agree(const panel_labels& panel, const panel_labels& reference);
