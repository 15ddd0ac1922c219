/*
 * Entropy input of the random generator: system data collected into a buffer and condensed with a digest of SHA-2
 * (SP 800-90A, sections 8.6 and 8.7). Most callers want ZRC_Rand_Bytes of kestrim/drbg.h.
 */
#ifndef KESTRIM_ENTROPY_H
#define KESTRIM_ENTROPY_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

typedef struct ZRC_ENTROPY_UNIT {
    uint32_t reserved;         /* always zero */
    uint32_t level;            /* 1 quick, 2 normal, 3 slow */
    uint8_t *digest;           /* of the collected bytes; owned */
    uint32_t digest_length;    /* bytes */
    uint32_t estimate;         /* sum of the credits of all that was added; nothing depends on it */
    uint32_t collected_length; /* bytes */
    uint32_t collected_size;   /* bytes that `collected` can hold */
    uint8_t *collected;        /* owned */
} ZRC_ENTROPY_UNIT;

/* One name and value of a table such as /proc/net/snmp; made by load_ugly_table, released with free_ugly_table. */
typedef struct ZRC_ENTROPY_TABLE_ENTRY {
    struct ZRC_ENTROPY_TABLE_ENTRY *next;
    char *name;
    unsigned long value;
} ZRC_ENTROPY_TABLE_ENTRY;

/*
 * zrc_New_ENTROPY_Unit - a new unit, all zero, to be released with zrc_Free_ENTROPY_Unit; null when there is no
 * memory.
 */
ZRC_API ZRC_ENTROPY_UNIT *zrc_New_ENTROPY_Unit(void);

/*
 * zrc_Clean_ENTROPY_Unit - wipe and release the collected bytes and the digest and zero the unit; null is allowed.
 */
ZRC_API void zrc_Clean_ENTROPY_Unit(ZRC_ENTROPY_UNIT *unit);

/*
 * zrc_Free_ENTROPY_Unit - clean and release a unit; null is allowed.
 */
ZRC_API void zrc_Free_ENTROPY_Unit(ZRC_ENTROPY_UNIT *unit);

/*
 * zrc_Add_ENTROPY - append bytes to what the unit has collected.
 *
 *   data    `length` bytes, which are copied
 *   length  bytes, not 0
 *   credit  how unpredictable they are thought to be; added to `estimate` as it is, not multiplied by the length.
 *           0 is refused: such a source cannot add anything
 *
 * Returns 0, or
 *   0x1C01002B  ZRC_ERR_INVALID_INPUT  unit or data is null, length or credit is 0
 *   0x1C01003B  ZRC_ERR_MEM_ALLOC      no memory, or more than 4 GiB in the unit; it keeps what it had
 */
ZRC_API uint32_t zrc_Add_ENTROPY(ZRC_ENTROPY_UNIT *unit, const void *data, uint32_t length, int32_t credit);

/*
 * zrc_Collect_ENTROPY - run the sources of the unit's level in their order and append what they give. A source that
 * cannot be read adds nothing, so a unit may stay empty. Numbers lie in the buffer in the machine's byte order.
 *
 * Level 3 runs      source                                               bytes       credit
 *                   shared-memory limits                                 2 x 4       1 each
 *                   time that a fork of the process takes                8           4
 * Levels 2, 3 run   start time and stack place of the process            2 x 4       1 each
 *                   task directory: inode, access time, change twice     4 x 4       1 each
 *                   sysinfo: uptime, six amounts of memory, processes    4, 6 x 4, 2 2, 1 each, 1
 *                   context switches and forks since boot                2 x 4       2 each
 *                   two pieces of the description of the processor       2 x 4       1 each
 *                   free blocks of "/", of all and of ordinary users     2 x 8       2 each
 *                   time that sleep(0) takes                             8           2
 *                   ticks of the processor in a millisecond              4           3
 *                   memory, total and free                               2 x 4       1 each
 *                   packets of IP, TCP and UDP                           7 x 4       2 each
 * Every level runs  process id                                           4           2
 *                   real-time clock: seconds and nanoseconds             8           5
 *                   /dev/urandom                                         64          64
 * In all: level 1 76 bytes and 71, level 2 210 bytes and 117, level 3 226 bytes and 123.
 *
 * Level 3 forks once; the child ends at once and is waited for. When the fork fails the process ends at once with
 * exit status 1 (by _exit: no handler runs, no stream is flushed), so that a weak collection cannot go unseen.
 * /dev/urandom is not read when its descriptor would be one of the standard streams (0 to 2).
 *
 * Returns 0, or 1 when the unit is null or its level is not 1, 2 or 3.
 */
ZRC_API uint32_t zrc_Collect_ENTROPY(ZRC_ENTROPY_UNIT *unit);

/*
 * get_collection_entropy - set the unit's level and collect.
 *
 *   level  1 quick, 2 normal, 3 slow; any other value means 2
 *
 * Returns 0, or
 *   0x1C02002B  ZRC_ERR_INVALID_INPUT  unit is null
 */
ZRC_API uint32_t get_collection_entropy(ZRC_ENTROPY_UNIT *unit, uint32_t level);

/*
 * digest_entropy - digest all that the unit has collected into its `digest`. An earlier digest is wiped and released;
 * after a failure there is none.
 *
 *   digest_id  an identifier of kestrim/digest.h
 *
 * Returns 0, or
 *   0x1C03002B  ZRC_ERR_INVALID_INPUT  unit is null, nothing is collected, or digest_id is 0
 *   a code of ZRC_DIGEST               0x0A050022 for an unknown or refused digest, 0x0A05003A, 0x0A050022 or
 *                                      0x0A050018 without memory
 */
ZRC_API uint32_t digest_entropy(ZRC_ENTROPY_UNIT *unit, int32_t digest_id);

/*
 * get_entropy_digest - get_collection_entropy, then digest_entropy; returns 0 or the code of the one that failed.
 */
ZRC_API uint32_t get_entropy_digest(ZRC_ENTROPY_UNIT *unit, uint32_t level, int32_t digest_id);

/*
 * get_entropy_ex - fill a buffer with digests of fresh collections, one for each digest length. The unit is cleaned
 * before each of them and keeps the last one, collected bytes and digest.
 *
 *   out        receives `length` bytes; all zero or untouched on failure
 *   length     bytes, not 0
 *   level      as in get_collection_entropy
 *   digest_id  an identifier of kestrim/digest.h
 *
 * Returns 0, or
 *   0x1C040049  ZRC_ERR_NULL_INPUT    out or unit is null, or length is 0
 *   0x1C040014  ZRC_ERR_ENTROPY_FAIL  the digest is unknown or refused, nothing could be collected, or no memory
 *   0x1C04000C  ZRC_ERR_COMPARE_FAIL  fewer than `length` bytes were made
 */
ZRC_API uint32_t get_entropy_ex(uint8_t *out, uint32_t length, uint32_t level, int32_t digest_id,
                                ZRC_ENTROPY_UNIT *unit);

/*
 * zrc_Get_ENTROPY - the same with a unit of its own.
 */
ZRC_API uint32_t zrc_Get_ENTROPY(uint8_t *out, uint32_t length, uint32_t level, int32_t digest_id);

/*
 * zrc_Get_ENTROPY_Input - a new entropy input for a security strength, as a reseed needs it.
 *
 *   entropy         an earlier buffer behind the pointer is released, not wiped; receives a new one, to be wiped and
 *                   released with ZRC_Free_Ex, or null after 0x1C050014
 *   entropy_length  receives its length, or 0
 *   strength        bytes; the digest, and with it the length, follows from it:
 *                     0 to 14   ZRC_SHA224  28 bytes
 *                     15 to 16  ZRC_SHA256  32 bytes
 *                     17 to 24  ZRC_SHA384  48 bytes
 *                     25 to 32  ZRC_SHA512  64 bytes
 *   level           as in get_collection_entropy
 *
 * Returns 0, or
 *   0x1C05002B  ZRC_ERR_INVALID_INPUT  a pointer is null, or the strength is none of these; nothing is changed
 *   0x1C050014  ZRC_ERR_ENTROPY_FAIL   zrc_Get_ENTROPY failed, or no memory
 */
ZRC_API uint32_t zrc_Get_ENTROPY_Input(uint8_t **entropy, int32_t *entropy_length, int32_t strength, uint32_t level);

/*
 * zrc_Get_ENTROPY_Input_With_Nonce_Input - entropy input and nonce, as an instantiation needs them. What the caller
 * has supplied (a pointer to a pointer that is not null, with its length) is used as it is and stays the caller's.
 *
 *   entropy, entropy_length  when null is behind the pointer: receives a new buffer as in zrc_Get_ENTROPY_Input
 *   nonce, nonce_length      when null is behind the pointer: receives a new buffer of half the entropy's length, to
 *                            be released with ZRC_Free_Ex. Its byte i is byte i of the entropy XOR byte i of what was
 *                            collected last (from the start again when that is shorter), so it gives no protection
 *                            when the entropy is known. For supplied entropy (2 bytes or more) the sources run once
 *                            for it
 *   strength, level          as in zrc_Get_ENTROPY_Input
 *
 * Returns 0, or, with nothing changed,
 *   0x1C060049  ZRC_ERR_NULL_INPUT     a pointer is null
 *   0x1C06002B  ZRC_ERR_INVALID_INPUT  the strength is below 0 or above 32, or supplied entropy is too short for a
 *                                      nonce
 *   0x1C060014  ZRC_ERR_ENTROPY_FAIL   the collection failed, or no memory
 */
ZRC_API uint32_t zrc_Get_ENTROPY_Input_With_Nonce_Input(uint8_t **entropy, int32_t *entropy_length, uint8_t **nonce,
                                                        int32_t *nonce_length, int32_t strength, uint32_t level);

/*
 * load_ugly_table - read pairs of lines such as those of /proc/net/snmp:
 *
 *   Ip: InReceives InDelivers
 *   Ip: 5549 5549
 *
 * gives the entries "IpInReceives" and "IpInDelivers". They are put in front of the list, in the order of the file;
 * the caller releases the list with free_ugly_table. A file that cannot be read, and no memory, leave the list as it
 * is. At most 1 MiB is read, in lines of up to 4,095 bytes: a longer line is taken for more than one.
 *
 * The process is aborted when a header line has no ':', has no line after it, or when there is no number where the
 * value of a name is looked for, from the end of the line backwards.
 */
ZRC_API void load_ugly_table(const char *path, ZRC_ENTROPY_TABLE_ENTRY **list);

/*
 * free_ugly_table - release all entries of a list; null is allowed.
 */
ZRC_API void free_ugly_table(ZRC_ENTROPY_TABLE_ENTRY *list);

ZRC_END_DECLS

#endif
