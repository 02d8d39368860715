#pragma once
// Marks what libkeel offers to other libraries; everything else stays hidden.
// Templates that are instantiated in several libraries, and their arguments, need the mark too:
// without it, statics that must exist once per process and dynamic_cast would split in two.

#define KEEL_EXPORT __attribute__((visibility("default")))
