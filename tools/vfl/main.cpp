// vfl: the command-line host of the library.
#include "tools/vfl/Commands.h"

#include <cstdio>

int main(int, char**) {
  std::fputs("vfl: no command\n", stderr);
  return 2;
}
