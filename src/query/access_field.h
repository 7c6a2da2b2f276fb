// The columns of an access line that filters test by value and the index keeps the values of.
#ifndef SARVIK_QUERY_ACCESS_FIELD_H_
#define SARVIK_QUERY_ACCESS_FIELD_H_

#include <cstddef>

namespace sarvik::query {

// In the order of the line; the path is not among them (its filters are patterns over a text of
// its own, found through the trigram signature instead).
enum class AccessField { kUser, kHost, kAddress, kOperation, kResult, kShare };
inline constexpr size_t kAccessFields = 6;
inline constexpr AccessField kAllAccessFields[kAccessFields] = {
    AccessField::kUser,      AccessField::kHost,   AccessField::kAddress,
    AccessField::kOperation, AccessField::kResult, AccessField::kShare};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_ACCESS_FIELD_H_
