// Parsing of a node's value typed as text, in the forms the program shows it: decimal, "0x" hexadecimal,
// and by the integer's representation an IPv4 address ("192.168.0.10") or a MAC address
// ("00:11:22:33:44:55" or with "-"). Shared by the node access (generic writes) and the integer edit, so
// that what a control shows can be typed back, and text that is none of these is refused instead of read as 0.
//
// Pure functions; any thread.
#pragma once

#include <QString>

#include <cstdint>

namespace ValueText {

// representation: the number of orna::core::nodes::IntegerRepresentation (-1 when unknown). False for text
// that is no integer in an accepted form, or that does not fit 64 bits.
bool ParseInteger(const QString& text, int representation, int64_t* value);
// Decimal in the C locale or in the user's locale; false for text that is no finite number.
bool ParseDouble(const QString& text, double* value);
// "true"/"false", "1"/"0" in any case.
bool ParseBoolean(const QString& text, bool* value);

} // namespace ValueText
