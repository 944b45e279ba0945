// Reference encodings made with independent tools, read from the shared
// vectors folder beside the checkout.
#pragma once

#include <string>
#include <vector>

#include "support/roundtrip.h"

namespace qortest {

struct Vector {
    std::string schema; // "personnel.asn", ...
    std::string rule;   // "BER", "DER", "CER", "PER", ...
    std::string madeBy;
    Bytes encoding;     // empty for the text rules
    std::string text;
};

// The vectors of one schema and rule; none when the folder isn't there.
std::vector<Vector> vectorsFor(const std::string &schema, const std::string &rule);

// Expects a decoded PersonnelRecord to hold the values of personnelExample.
void expectPersonnelExample(const void *decoded);
// The same against another PersonnelRecord value.
void expectPersonnel(const void *decoded, const PersonnelRecord &want);

} // namespace qortest
