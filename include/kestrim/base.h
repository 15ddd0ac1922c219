/*
 * What every family header needs: fixed-width types, linkage and visibility.
 */
#ifndef KESTRIM_BASE_H
#define KESTRIM_BASE_H

#include <stdint.h>

#ifdef __cplusplus
#define ZRC_BEGIN_DECLS extern "C" {
#define ZRC_END_DECLS }
#else
#define ZRC_BEGIN_DECLS
#define ZRC_END_DECLS
#endif

/* Marks the functions that the shared library exports. */
#if defined(__GNUC__)
#define ZRC_API __attribute__((visibility("default")))
#else
#define ZRC_API
#endif

#endif
