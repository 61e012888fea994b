// Failing and recording calls of the C library and GLib that the seam does not cover.  A test
// program that links test_support has these calls of its own objects and of the tree's libraries
// redirected here by the linker; unless a test arms a fault they go straight through.
#pragma once

#include <pthread.h>
#include <string>
#include <vector>

namespace test
{

// From now on the `nth` call of `function` (1: the next) returns `result` and sets errno to
// `error`, without doing its work; with `every` also all calls after it.  Pointer results: 0 is
// NULL.
void wrap_fail(const std::string &function, long result, int error = 0, int nth = 1,
               bool every = false);
void wrap_clear();

// The thread that was made last: a test that keeps its owner from joining it does so itself.
pthread_t wrap_last_thread();

// usleep() arguments in order since the last wrap_clear; with `skip` they are not slept.
void wrap_record_sleeps(bool skip);
std::vector<unsigned int> wrap_sleeps();

} // namespace test
