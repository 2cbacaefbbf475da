#pragma once

#include <string>

// A cache that a test leaves behind must be sound in the eyes of the program torvane, unless the test has written into
// it by itself: the library's own operations, refusals and faults included, may leave waste, never damage.

// Fails the test when "torvane verify" finds damage in `directory`, or in a directory of it, that holds a cache. Does
// nothing after NotSound(), after a failure, and where the program is not built.
void ExpectSoundRoots(std::string const& directory);

// The test damages a cache by itself, or leaves it with what no library has written.
void NotSound();
// The same when `path` lies in a cache.
void NotSoundWhenInCache(std::string const& path);
