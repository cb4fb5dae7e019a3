// Linked into sanitizer builds only: what the sanitizers are to overlook in libraries that are not ours.

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizers look for these names.
extern "C" {

/// Looking for leaks at the end of the program stops every thread by a tracer, and the tracer crashes now and then
/// while the image library's own threads are ending. The job itself is looked at inside the test program.
const char* __lsan_default_options() {
    return "detect_leaks=0";
}

/// GLib's locks are invisible to the thread sanitizer, which would take what they protect for races.
const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
