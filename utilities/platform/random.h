/// Random numbers of no great quality, one sequence for the whole process.
#ifndef UTILITIES_PLATFORM_RANDOM_H
#define UTILITIES_PLATFORM_RANDOM_H

namespace platform {

/// The next number of the C library's sequence, 0 or more, and its start. Any thread may call them.
int rand();
void srand(unsigned int seed);

}  // namespace platform

#endif
