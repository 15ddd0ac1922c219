// Locks: the POSIX mutex calls with their results as error codes. Every refusal has the one reason
// ZRC_ERR_MUTEX_LOCK_FAIL, unlocking included: ZRC_ERR_MUTEX_UNLOCK_FAIL is not used, on purpose.
#include "kestrim/lock.h"

#include "core/error.hpp"

#include <pthread.h>

std::uint32_t zrc_Init_Lock(pthread_mutex_t* mutex)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_METEX_LOCK, ZRC_F_INIT_LOCK, reason); };

    if (!mutex) return fail(ZRC_ERR_NULL_INPUT);
    if (pthread_mutex_init(mutex, nullptr) != 0) return fail(ZRC_ERR_MUTEX_LOCK_FAIL);
    return 0;
}

std::uint32_t zrc_Wait_Lock(pthread_mutex_t* mutex)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_METEX_LOCK, ZRC_F_WAIT_LOCK, reason); };

    if (!mutex) return fail(ZRC_ERR_NULL_INPUT);
    if (pthread_mutex_lock(mutex) != 0) return fail(ZRC_ERR_MUTEX_LOCK_FAIL);
    return 0;
}

std::uint32_t zrc_Release_Lock(pthread_mutex_t* mutex)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_METEX_LOCK, ZRC_F_RELEASE_LOCK, reason); };

    if (!mutex) return fail(ZRC_ERR_NULL_INPUT);
    if (pthread_mutex_unlock(mutex) != 0) return fail(ZRC_ERR_MUTEX_LOCK_FAIL);
    return 0;
}

std::uint32_t zrc_Clear_Lock(pthread_mutex_t* mutex)
{
    if (!mutex) return 0;
    if (pthread_mutex_destroy(mutex) != 0) {
        return zrc::code(ZRC_L_METEX_LOCK, ZRC_F_CLEAR_LOCK, ZRC_ERR_MUTEX_LOCK_FAIL);
    }
    return 0;
}
