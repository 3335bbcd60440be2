/// Loops that the compiler turns into vector instructions, for more than one kind of processor.
#pragma once

/// In front of a function with such loops: it is compiled a second time for processors that compute
/// eight numbers at a time, and chosen when the program starts. What each number goes through stays
/// the same (multiplications and additions are not contracted), and so the sound does. Sanitizers
/// are not ready yet when the choice is made.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VEXOLO_VECTORIZED __attribute__((target_clones("avx2", "default")))
#else
#define VEXOLO_VECTORIZED
#endif
