// The scan of the command line. The program has no options: each argument is compared with one hidden word
// that switches on the developer view (a plain widening of what is shown). The comparison runs on a digit
// form of the bytes ("%03d" per byte) so the word does not stand in the binary as text.
//
// Runs on the main thread before QApplication exists.
#pragma once

#include <string>

namespace commandline {

// "abc" -> "097098099".
std::string DigitForm(const std::string& bytes);
// True when the argument is exactly the hidden word (a prefix or a longer text does not match).
bool IsDeveloperWord(const char* argument);
// Sets ApplicationGlobals::developerView when any argument after the program name is the word. argv is not
// changed, so QApplication still sees every argument.
void Scan(int argc, char** argv);

} // namespace commandline
