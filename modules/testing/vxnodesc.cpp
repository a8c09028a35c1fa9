// A shared object with the module extension that doesn't describe itself: the
// scan must report it and go on.
extern "C" int vxnodesc_marker(void) { return 42; }
