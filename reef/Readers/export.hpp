#pragma once
// Marks what libPolypia-Readers offers to programs and to modules; everything else stays hidden.

#define READERS_EXPORT __attribute__((visibility("default")))
