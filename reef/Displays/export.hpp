#pragma once
// Marks what libPolypia-Displays offers to programs and to modules; everything else stays hidden.

#define DISPLAYS_EXPORT __attribute__((visibility("default")))
