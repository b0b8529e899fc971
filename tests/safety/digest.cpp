// veskaro-nr selftest without the companion's libraries, for emulated processors and other compilers.
#include "selftest.h"

int main() {
  return tool::selfTest();
}
