#pragma once
// Marks what libsorrel offers to other libraries; everything else stays hidden.

#define SORREL_EXPORT __attribute__((visibility("default")))
