// Texts that may be missing, for printing.
#pragma once

namespace tly {

// The text, or "(null)": a null pointer must not reach a %s conversion.
inline const char* printable(const char* text) noexcept {
  return text != nullptr ? text : "(null)";
}

}  // namespace tly
