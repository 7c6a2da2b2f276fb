// The console's secret: made once in the state directory, then asked for with every request.
#ifndef SARVIK_TOOLS_WEB_TOKEN_H_
#define SARVIK_TOOLS_WEB_TOKEN_H_

#include <string>
#include <string_view>

namespace sarvik::web {

// 32 random bytes as base64url without padding.
inline constexpr size_t kTokenLength = 43;

// The name of the token's file in the state directory, and of the cookie that carries it.
inline constexpr char kTokenFile[] = "token";
inline constexpr char kCookieName[] = "sarvik_web";

// Reads the token of `state_dir`; when there is none yet, makes the directory (mode 0700) if
// needed and writes a new token to it (mode 0600, whole or not at all). The token file is opened
// without following a link. False with a reason in `error`, also for a file that holds no token.
bool load_or_create_token(const std::string& state_dir, std::string* token, std::string* error);

// Reads the token of `state_dir` without making one. False with a reason when there is none.
bool read_token(const std::string& state_dir, std::string* token, std::string* error);

// A new token from the kernel's random source.
std::string new_token();

// Whether `given` is `token`, in a time that does not depend on where they differ.
bool same_token(std::string_view given, std::string_view token);

// The token that the request carries: the cookie kCookieName of the Cookie header, or the
// Authorization header's "Bearer TOKEN"; empty when neither.
std::string token_of(const std::string& cookie_header, const std::string& authorization);

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_TOKEN_H_
