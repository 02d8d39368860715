#pragma once
// Marks what libPolypia-PolypiaGL offers to others; everything else stays hidden.

#define POLYPIAGL_EXPORT __attribute__((visibility("default")))
