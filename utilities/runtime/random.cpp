#include "utilities/runtime/random.h"

#include <cstdlib>

namespace runtime {

int rand() { return std::rand(); }

void srand(unsigned int seed) { std::srand(seed); }

}  // namespace runtime
