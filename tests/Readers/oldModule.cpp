// A module as an earlier interface would have made it.

extern "C" __attribute__((visibility("default"))) int polypiaReaderInterface() {
    return 0;
}
extern "C" __attribute__((visibility("default"))) void polypiaRegisterReaders() {}
