// The verification key as text an administrator copies off the appliance, and its parser.
#ifndef SARVIK_SEAL_KEY_TEXT_H_
#define SARVIK_SEAL_KEY_TEXT_H_

#include <string>
#include <string_view>

#include "seal/seal_crypto.h"

namespace sarvik {

// 64 hexadecimal digits in eight groups of eight joined by '-':
// "3a9f04c2-7d1e5b60-...". No line end.
std::string verification_key_text(const VerificationKey& key);

// Reads a key as verification_key_text writes it. Blanks, line ends and '-' anywhere are
// skipped and the digits' case does not matter, so a key copied with a line break still reads.
// False when anything else stands there or the digits are not 64.
bool parse_verification_key(std::string_view text, VerificationKey* key);

}  // namespace sarvik

#endif  // SARVIK_SEAL_KEY_TEXT_H_
