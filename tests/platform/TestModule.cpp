// A library that the tests look for.
extern "C" __attribute__((visibility("default"))) int GetAnswer() {
    return 42;
}
