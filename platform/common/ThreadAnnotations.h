#pragma once

// Lock facts that clang's thread-safety analysis proves (preset `locks`); no effect with other compilers.

#if defined(__clang__)
#define VELK_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VELK_THREAD_ATTRIBUTE(x)
#endif

/// The class is a lock.
#define VELK_CAPABILITY(name) VELK_THREAD_ATTRIBUTE(capability(name))
/// The class holds a lock for its lifetime.
#define VELK_SCOPED_CAPABILITY VELK_THREAD_ATTRIBUTE(scoped_lockable)
/// The field is touched only with the lock held.
#define VELK_GUARDED_BY(lock) VELK_THREAD_ATTRIBUTE(guarded_by(lock))
/// What the pointer points to is touched only with the lock held.
#define VELK_PT_GUARDED_BY(lock) VELK_THREAD_ATTRIBUTE(pt_guarded_by(lock))
/// The caller holds the lock.
#define VELK_REQUIRES(...) VELK_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VELK_REQUIRES_SHARED(...) VELK_THREAD_ATTRIBUTE(requires_shared_capability(__VA_ARGS__))
/// The caller does not hold the lock: the function takes it.
#define VELK_EXCLUDES(...) VELK_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define VELK_ACQUIRE(...) VELK_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VELK_ACQUIRE_SHARED(...) VELK_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define VELK_RELEASE(...) VELK_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define VELK_RELEASE_SHARED(...) VELK_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define VELK_RELEASE_GENERIC(...) VELK_THREAD_ATTRIBUTE(release_generic_capability(__VA_ARGS__))
#define VELK_TRY_ACQUIRE(...) VELK_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define VELK_ACQUIRED_AFTER(...) VELK_THREAD_ATTRIBUTE(acquired_after(__VA_ARGS__))
#define VELK_ACQUIRED_BEFORE(...) VELK_THREAD_ATTRIBUTE(acquired_before(__VA_ARGS__))
#define VELK_RETURN_CAPABILITY(lock) VELK_THREAD_ATTRIBUTE(lock_returned(lock))
/// The analysis cannot follow this function; say why beside it.
#define VELK_NO_THREAD_SAFETY_ANALYSIS VELK_THREAD_ATTRIBUTE(no_thread_safety_analysis)
