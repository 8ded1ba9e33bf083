// A finished handle of Facebook or Twitter stays allocated, as the library requires. YouTube's are freed.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:InitFacebookFileUploder"; }
