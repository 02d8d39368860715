// Linked into programs that are built with the address sanitizer.
//
// eglTerminate unloads the driver before the leak check at the end of the process. What the
// driver's globals still point to then counts as leaked, in an "unknown module" that no
// suppression can name. Libraries that stay loaded keep both the pointers and the names.
extern "C" int dlclose(void*) {
    return 0;
}
