#pragma once

// Marks what libtorvane.so offers to its callers. Everything else is built with hidden visibility.
#define TORVANE_API __attribute__((visibility("default")))
