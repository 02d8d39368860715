#pragma once
// Marks what libWriters offers to other libraries; everything else stays hidden.

#define WRITERS_EXPORT __attribute__((visibility("default")))
