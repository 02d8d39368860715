// A library without the entry of a module.

extern "C" __attribute__((visibility("default"))) int anything() {
    return 0;
}
