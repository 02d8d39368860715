#pragma once
// Marks what libfennel offers to other libraries; everything else stays hidden.

#define FENNEL_EXPORT __attribute__((visibility("default")))
