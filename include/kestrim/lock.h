/*
 * Locks: a POSIX mutex behind the error codes of the library. The caller owns the mutex object and decides what it
 * guards.
 */
#ifndef KESTRIM_LOCK_H
#define KESTRIM_LOCK_H

#include "kestrim/base.h"

#include <pthread.h>

ZRC_BEGIN_DECLS

/*
 * zrc_Init_Lock - initialise a mutex with default attributes.
 *
 * Returns 0, or
 *   0x1D010049  ZRC_ERR_NULL_INPUT       mutex is null
 *   0x1D010061  ZRC_ERR_MUTEX_LOCK_FAIL  the system refused
 */
ZRC_API uint32_t zrc_Init_Lock(pthread_mutex_t *mutex);

/*
 * zrc_Wait_Lock - lock, waiting as long as it takes.
 *
 * Returns 0, or
 *   0x1D020049  ZRC_ERR_NULL_INPUT       mutex is null
 *   0x1D020061  ZRC_ERR_MUTEX_LOCK_FAIL  the system refused
 */
ZRC_API uint32_t zrc_Wait_Lock(pthread_mutex_t *mutex);

/*
 * zrc_Release_Lock - unlock.
 *
 * Returns 0, or
 *   0x1D030049  ZRC_ERR_NULL_INPUT       mutex is null
 *   0x1D030061  ZRC_ERR_MUTEX_LOCK_FAIL  the system refused (the reason is that of locking, on purpose)
 */
ZRC_API uint32_t zrc_Release_Lock(pthread_mutex_t *mutex);

/*
 * zrc_Clear_Lock - destroy a mutex that nobody holds. Null is allowed and does nothing.
 *
 * Returns 0, or
 *   0x1D040061  ZRC_ERR_MUTEX_LOCK_FAIL  the system refused
 */
ZRC_API uint32_t zrc_Clear_Lock(pthread_mutex_t *mutex);

ZRC_END_DECLS

#endif
