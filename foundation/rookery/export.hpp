#pragma once
// Marks what librookery offers to other libraries; everything else stays hidden.
// The value templates carry the mark as well: they are arguments of exported templates (chunks,
// slots), and those are hidden again by a hidden argument.

#define ROOKERY_EXPORT __attribute__((visibility("default")))
