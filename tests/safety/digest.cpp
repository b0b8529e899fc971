// veskaro-nr selftest without the companion's libraries, for emulated processors and other compilers.
#include "command/selftest.h"

int main() {
  return tool::command::selfTest();
}
