#include "utilities/platform/random.h"

#include <cstdlib>

namespace platform {

int rand() { return std::rand(); }

void srand(unsigned int seed) { std::srand(seed); }

}  // namespace platform
