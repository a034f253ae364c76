#ifndef KLB_FUZZ_DER_MUTATION_H
#define KLB_FUZZ_DER_MUTATION_H

#include <functional>
#include <random>
#include <string>

namespace klb::fuzz {

/// Changes some bytes, also their number.
using ByteMutation = std::function<std::string(std::string bytes)>;

/// Changes one element of an ASN.1 text in DER: its bytes, its type or its place, with all lengths
/// around it made right again. A text that is no DER is changed as bytes.
std::string mutatedDer(const std::string& der, const ByteMutation& mutate,
                       std::minstd_rand& random);

} // namespace klb::fuzz

#endif
