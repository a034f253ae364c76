#ifndef KLB_DOCUMENTS_EXPONENTS_H
#define KLB_DOCUMENTS_EXPONENTS_H

#include <vector>

namespace klb {

/// RapidJSON counts a number's exponent and decimals in ints and takes their sum for the index of a
/// table: 0.0000000001e-2147483639 would end the host. Changes digits of such numbers, so that all
/// sums fit. The text keeps its length, its errors and their places; what a number is worth
/// decides about nothing here.
void limitExponents(std::vector<char>& text) noexcept;

} // namespace klb

#endif
