// A library without the entries of a module.

extern "C" __attribute__((visibility("default"))) int anything() {
    return 0;
}
