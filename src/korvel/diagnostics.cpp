#include "korvel/diagnostics.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace korvel {
namespace {

void append_to_logfile(const char* bytes, std::size_t n) {
  int fd = open("logfile.txt", O_RDWR | O_APPEND | O_CREAT, 0644);
  if (fd < 0) return;  // guard: an unwritable directory loses the note, nothing else
  const ssize_t written = write(fd, bytes, n);
  (void)written;  // a trace that cannot be written is dropped
  close(fd);
}

}  // namespace

int debug(const char* s) {
  // guard: the text is written as it is, never used as a format, so a per
  // cent sign in it cannot make printf read arguments that are not there
  fputs(s, stdout);
  return fflush(stdout);
}

void debug_log(const char* s) {
  FILE* f = fopen("debug.log", "a");
  if (!f) return;  // guard: fprintf on a null stream would crash
  fprintf(f, "korvel: %s\n", s);
  fclose(f);
}

void dump(const char* s) { append_to_logfile(s, std::strlen(s)); }

SDL_Surface* crasher(SDL_Surface*) {
  append_to_logfile("crasher called.\n", 16);
  exit(0);
}

}  // namespace korvel
