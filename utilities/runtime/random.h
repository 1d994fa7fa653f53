/// Random numbers of low quality, from one sequence of the whole process.
#ifndef UTILITIES_RUNTIME_RANDOM_H
#define UTILITIES_RUNTIME_RANDOM_H

namespace runtime {

/// `rand` returns the next number of the C library's sequence, 0 or more; `srand` restarts the
/// sequence. Any thread may call them.
int rand();
void srand(unsigned int seed);

}  // namespace runtime

#endif
