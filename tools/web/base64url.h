// Base64 with the URL's alphabet ("-" and "_") and no padding (RFC 4648, section 5).
#ifndef SARVIK_TOOLS_WEB_BASE64URL_H_
#define SARVIK_TOOLS_WEB_BASE64URL_H_

#include <string>
#include <string_view>

namespace sarvik::web {

std::string base64url_encode(std::string_view bytes);
// False for a character outside the alphabet or a length that no encoding has.
bool base64url_decode(std::string_view text, std::string* bytes);
// Whether every character of `text` is of the alphabet.
bool is_base64url_text(std::string_view text);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_BASE64URL_H_
