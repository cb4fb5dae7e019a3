// Linked into sanitizer builds only: what the sanitizers are to overlook in libraries that are not ours.

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizers look for these names.
extern "C" {

/// libx265 keeps one small table until the process ends.
const char* __lsan_default_suppressions() {
    return "leak:libx265\n";
}

const char* __lsan_default_options() {
    return "print_suppressions=0";
}

/// GLib's locks are invisible to the thread sanitizer, which would take what they protect for races.
const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
