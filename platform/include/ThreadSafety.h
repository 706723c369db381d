// Which lock guards what, in a form that Clang's thread-safety analysis (-Wthread-safety) checks; empty elsewhere.
#pragma once

#if defined(__clang__)
#    define NV_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#    define NV_THREAD_ATTRIBUTE(x)
#endif

#define NV_CAPABILITY(name) NV_THREAD_ATTRIBUTE(capability(name))
#define NV_SCOPED_CAPABILITY NV_THREAD_ATTRIBUTE(scoped_lockable)
#define NV_GUARDED_BY(lock) NV_THREAD_ATTRIBUTE(guarded_by(lock))
#define NV_REQUIRES(...) NV_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define NV_ACQUIRE(...) NV_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define NV_RELEASE(...) NV_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define NV_NO_THREAD_SAFETY_ANALYSIS NV_THREAD_ATTRIBUTE(no_thread_safety_analysis)
