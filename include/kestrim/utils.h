/*
 * Diagnostic helpers: hexadecimal dumps and whole files.
 */
#ifndef KESTRIM_UTILS_H
#define KESTRIM_UTILS_H

#include "kestrim/base.h"

ZRC_BEGIN_DECLS

/*
 * zrc_Print_HEX_No_Nl - print `len` bytes on standard output as upper-case hexadecimal pairs with colons between
 * them: 01:AB. Prints nothing when buf is null or len is below 1.
 */
ZRC_API void zrc_Print_HEX_No_Nl(const uint8_t *buf, int32_t len);

/*
 * zrc_Print_HEX - the same, and a newline. Prints nothing when buf is null or len is below 1.
 */
ZRC_API void zrc_Print_HEX(const uint8_t *buf, int32_t len);

/*
 * zrc_Print_HEX_Nl - the same, and two newlines. Prints nothing when buf is null or len is below 1.
 */
ZRC_API void zrc_Print_HEX_Nl(const uint8_t *buf, int32_t len);

/*
 * zrc_Dump_HEX - the text of zrc_Print_HEX_No_Nl as a new string.
 *
 * Returns 3 x `len` bytes, the last of them the terminating zero byte, to be released with ZRC_Free; null when buf
 * is null, len is below 1 or there is no memory.
 */
ZRC_API char *zrc_Dump_HEX(const uint8_t *buf, int32_t len);

/*
 * zrc_Binary_To_File - write the `length` bytes that start at `buf + offset` to a file, replacing it.
 *
 *   buf     offset + length bytes
 *   offset  0 or more, and less than `length`: that odd comparison is part of the contract
 *   length  1 or more
 *   path    file name
 *
 * Returns the bytes written (fewer than `length` when the disk is full); -1 for an argument that does not fit, when
 * the file is not touched, and when the file cannot be opened or closed.
 */
ZRC_API int32_t zrc_Binary_To_File(const uint8_t *buf, int32_t offset, int32_t length, const char *path);

/*
 * zrc_File_To_Binary - read a whole file of 1 to 2^31 - 1 bytes.
 *
 *   path  file name
 *   out   receives the new buffer, to be released with ZRC_Free; not written on failure
 *
 * Returns the size; -1 when an argument is null, or the file cannot be opened, is empty, is too large, is not a
 * regular file with a size, cannot be read in full, or finds no memory.
 */
ZRC_API int32_t zrc_File_To_Binary(const char *path, uint8_t **out);

ZRC_END_DECLS

#endif
