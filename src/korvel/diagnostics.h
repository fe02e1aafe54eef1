// Tracing aids for debugging the native code while a game runs. Plain C
// I/O only; none keeps state between calls.
#pragma once

struct SDL_Surface;

namespace korvel {

// Writes s to standard output and flushes; returns the flush result.
int debug(const char* s);
// Appends "korvel: <s>\n" to debug.log in the working directory.
void debug_log(const char* s);
// Appends the bytes of s to logfile.txt in the working directory.
void dump(const char* s);
// Notes "crasher called." in logfile.txt and ends the process with status 0.
[[noreturn]] SDL_Surface* crasher(SDL_Surface* ignored);

}  // namespace korvel
