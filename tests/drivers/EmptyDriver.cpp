// A library that loads and has none of the names.
extern "C" __attribute__((visibility("default"))) int NothingOfADriver() {
    return 0;
}
