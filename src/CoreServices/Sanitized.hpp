// VORLANDI_SANITIZED: is this a build with the address or the thread sanitizer? They must see every object on its own,
// and are not ready yet when a program chooses among compiled variants of a function.
#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VORLANDI_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VORLANDI_SANITIZED 1
#endif
#endif
#ifndef VORLANDI_SANITIZED
#define VORLANDI_SANITIZED 0
#endif

// VORLANDI_POOLED: do pools keep objects side by side? Under the sanitizers only if the build asks for it.
#if defined(VORLANDI_POOLS_ALWAYS) || !VORLANDI_SANITIZED
#define VORLANDI_POOLED 1
#else
#define VORLANDI_POOLED 0
#endif
