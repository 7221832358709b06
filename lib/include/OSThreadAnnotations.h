// Names for clang's thread-safety attributes; they vanish under other compilers. The lint preset turns a violation
// into an error.
#pragma once

#if defined(__clang__)
#define HALYARD_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define HALYARD_THREAD_ATTRIBUTE(x)
#endif

#define CAPABILITY(x) HALYARD_THREAD_ATTRIBUTE(capability(x))
#define SCOPED_CAPABILITY HALYARD_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(x) HALYARD_THREAD_ATTRIBUTE(guarded_by(x))
#define PT_GUARDED_BY(x) HALYARD_THREAD_ATTRIBUTE(pt_guarded_by(x))
#define REQUIRES(...) HALYARD_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) HALYARD_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) HALYARD_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) HALYARD_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) HALYARD_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define RELEASE_GENERIC(...) HALYARD_THREAD_ATTRIBUTE(release_generic_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) HALYARD_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
#define EXCLUDES(...) HALYARD_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define RETURN_CAPABILITY(x) HALYARD_THREAD_ATTRIBUTE(lock_returned(x))
#define NO_THREAD_SAFETY_ANALYSIS HALYARD_THREAD_ATTRIBUTE(no_thread_safety_analysis)
