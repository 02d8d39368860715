// A module of another time.

extern "C" __attribute__((visibility("default"))) int polypiaModuleInterface() {
    return 0;
}
