// A library, and no plug-in.

extern "C" int velkNothing() {
    return 0;
}
