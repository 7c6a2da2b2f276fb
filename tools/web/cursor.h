// The cursor of a page of lines: where the next page begins, for the same query only.
#ifndef SARVIK_TOOLS_WEB_CURSOR_H_
#define SARVIK_TOOLS_WEB_CURSOR_H_

#include <cstdint>
#include <string>

#include "query/search.h"

namespace sarvik::web {

// An opaque text (base64url) that holds `position` and the query's fingerprint.
std::string encode_cursor(const query::LogPosition& position, uint64_t fingerprint);

// Reads a cursor; false with a reason in `error` when it cannot be read or was made for another
// query (another fingerprint).
bool decode_cursor(const std::string& cursor, uint64_t fingerprint, query::LogPosition* position,
                   std::string* error);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_CURSOR_H_
