#pragma once
// Marks what libPolypia offers to other libraries; everything else stays hidden.

#define POLYPIA_EXPORT __attribute__((visibility("default")))
