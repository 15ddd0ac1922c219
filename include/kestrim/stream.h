/*
 * Streams: bytes that come from or go to a buffer, a file, a growing memory buffer or nowhere, and filters that
 * digest or encipher what flows through them, behind one table of operations.
 *
 *   ZRC_STREAM *file = ZRC_New_STREAM(), *cipher = ZRC_New_STREAM();
 *   if (file && cipher && ZRC_Open_File_STREAM(file, "message.enc", ZRC_STREAM_WRITE) == 0 &&
 *       ZRC_Open_Cipher_STREAM(cipher, file, unit, ZRC_STREAM_WRITE) == 0 &&
 *       ZRC_Write_STREAM(cipher, data, size) == 0 &&
 *       ZRC_Close_STREAM(cipher) == 0 && ZRC_Close_STREAM(file) == 0) { ... all of it is in the file ... }
 *   ZRC_Free_STREAM(cipher);
 *   ZRC_Free_STREAM(file);
 *
 * A stream is created closed (New), opened by one of the Open functions, closed (Close) and can then be opened again,
 * as the same kind or another. Reading stops at the end of what there is, writing is all or an error. A write that
 * failed is not forgotten: from then on Write, Flush and Close return its reason. A filter is opened over another
 * open stream, its next one, which it uses but does not own: it must stay open and in place for as long as the filter
 * is, and is closed after it.
 *
 * Streams are no cryptographic service and do not pass the gate; the units of the filters did at their Init.
 * Everything that a stream kept of what flowed through it is wiped before its memory is released or used again.
 *
 * Codes are 0x0D, the number of the function that was called (ZRC_F_OPEN_STREAM ...) and a reason. A reason of the
 * next stream passes through a filter: 0x0D030050 is a read error, of whatever stream below.
 */
#ifndef KESTRIM_STREAM_H
#define KESTRIM_STREAM_H

#include "kestrim/base.h"
#include "kestrim/block_cipher.h"
#include "kestrim/digest.h"
#include "kestrim/hmac.h"

ZRC_BEGIN_DECLS

enum {
    /* Bits of the mode of opening */
    ZRC_STREAM_READ = 1,
    ZRC_STREAM_WRITE = 2,
    ZRC_STREAM_APPEND = 4, /* with ZRC_STREAM_WRITE, files only: every write goes to the end, whoever else writes */

    /* Functions of ZRC_L_FOUNDATION */
    ZRC_F_OPEN_STREAM = 2,
    ZRC_F_READ_STREAM = 3,
    ZRC_F_READ_EXACT_STREAM = 4,
    ZRC_F_WRITE_STREAM = 5,
    ZRC_F_SEEK_STREAM = 6,
    ZRC_F_FLUSH_STREAM = 7,
    ZRC_F_CLOSE_STREAM = 8,
    ZRC_F_COPY_STREAM = 9,
    ZRC_F_GET_MEMORY_STREAM = 10,
    ZRC_F_CLEAR_MEMORY_STREAM = 11
};

typedef struct ZRC_STREAM ZRC_STREAM;

/*
 * What a kind of stream does. ZRC_Open_STREAM takes such a table, so a program can add kinds of its own; the tables
 * of the library are behind the other Open functions. The functions below test arguments, mode and state before they
 * call an operation, so that it sees an open stream, no null pointer and a length of 1 or more. Creating and freeing
 * are the same for every kind but for the state: state_length zero bytes that exist from Open to Close.
 *
 * Operations return 0 or a reason (ZRC_ERR_*; of a whole code the low byte counts, and ZRC_ERR_SUB_OPERATION_FAILURE
 * if that is 0). A null one is not there: what needs it is refused with ZRC_ERR_NOT_SUPPORTED, and open, flush, close
 * and free do nothing.
 */
typedef struct ZRC_STREAM_OPERATIONS {
    const char *name;      /* "file", ... */
    uint32_t state_length; /* bytes */
    /* Opens what the argument of ZRC_Open_STREAM says, with the mode that is in the stream. After a failure `free`
     * is not called. */
    uint32_t (*open)(ZRC_STREAM *stream, void *argument);
    /* Delivers 1 to `length` bytes and their number, or fails; ZRC_ERR_END_OF_STREAM when there are no more. */
    uint32_t (*read)(ZRC_STREAM *stream, uint8_t *out, int32_t length, int32_t *done);
    /* Takes all `length` bytes, or fails. */
    uint32_t (*write)(ZRC_STREAM *stream, const uint8_t *data, int32_t length);
    /* Goes to a position, 0 or more bytes from the start. */
    uint32_t (*seek)(ZRC_STREAM *stream, int64_t position);
    /* Hands on what was written and is held back. */
    uint32_t (*flush)(ZRC_STREAM *stream);
    /* Ends what was written. Not called when a write or flush failed. */
    uint32_t (*close)(ZRC_STREAM *stream);
    /* Lets go of what open took. Called after close and also without it; uses no other stream. */
    void (*free)(ZRC_STREAM *stream);
    /* What ZRC_Get_STREAM_Length returns; null: -1. */
    int64_t (*length)(const ZRC_STREAM *stream);
} ZRC_STREAM_OPERATIONS;

struct ZRC_STREAM {
    const ZRC_STREAM_OPERATIONS *operations; /* null while closed */
    void *state;                             /* state_length bytes of the kind, owned; null when that is 0 */
    uint32_t mode;                           /* ZRC_STREAM_READ, ... */
    uint32_t failed;                         /* the reason of the write or flush that failed, or 0 */
    int64_t position;                        /* bytes from the start; moved by the operations read, write and seek */
    ZRC_STREAM *next;                        /* of a filter: where it reads from or writes to; not owned */
};

/*
 * ZRC_New_STREAM - a new, closed stream, to be released with ZRC_Free_STREAM; null when there is no memory.
 */
ZRC_API ZRC_STREAM *ZRC_New_STREAM(void);

/*
 * The Open functions. The stream is closed; after a failure it still is. All of them return 0, or
 *   0x0D020049  ZRC_ERR_NULL_INPUT          a pointer is null
 *   0x0D02002B  ZRC_ERR_INVALID_INPUT       the mode is not one that the function takes, a length or descriptor is
 *                                           negative, or a filter would come to stand over itself
 *   0x0D020008  ZRC_ERR_CANNOT_OPEN_STREAM  the stream is open already; the next one is closed, or not open for that
 *                                           direction; or the system refused the file: errno says why then
 *   0x0D02003C  ZRC_ERR_MEMORY_ALLOC        no memory for the state
 */

/*
 * ZRC_Open_STREAM - open a stream of any kind.
 *
 *   operations  the kind; stays in place while the stream is open
 *   argument    handed to the operation open; may be null
 *   mode        ZRC_STREAM_READ, ZRC_STREAM_WRITE, both, or ZRC_STREAM_WRITE | ZRC_STREAM_APPEND
 *
 * Returns as said above, and the reason of the operation open.
 */
ZRC_API uint32_t ZRC_Open_STREAM(ZRC_STREAM *stream, const ZRC_STREAM_OPERATIONS *operations, void *argument,
                                 uint32_t mode);

/*
 * ZRC_Open_Buffer_STREAM - a stream over memory of the caller, which stays in place while the stream is open. With
 * ZRC_STREAM_READ its content is the whole buffer; with ZRC_STREAM_WRITE alone it starts empty and grows up to the
 * buffer's size. Seeks to 0 ... its length.
 *
 *   buffer  `length` bytes
 *   length  0 or more
 *   mode    not ZRC_STREAM_APPEND
 */
ZRC_API uint32_t ZRC_Open_Buffer_STREAM(ZRC_STREAM *stream, uint8_t *buffer, int32_t length, uint32_t mode);

/*
 * ZRC_Open_Data_STREAM - the same over constant memory, for reading.
 */
ZRC_API uint32_t ZRC_Open_Data_STREAM(ZRC_STREAM *stream, const uint8_t *data, int32_t length);

/*
 * ZRC_Open_File_STREAM - a file, of whatever size. Every read and write is a system call, so that nothing is held
 * back or left behind in memory; larger pieces are faster. Seeks anywhere, if the file can: reading behind the end
 * finds the end, writing there leaves a hole.
 *
 *   path  file name
 *   mode  ZRC_STREAM_READ                       the file exists
 *         ZRC_STREAM_WRITE                      it is created, or emptied
 *         ZRC_STREAM_READ | ZRC_STREAM_WRITE    it is created when it is not there, and keeps its content
 *         ZRC_STREAM_WRITE | ZRC_STREAM_APPEND  the same; does not seek
 *
 * New files have the permissions 0666 without the bits of the umask.
 */
ZRC_API uint32_t ZRC_Open_File_STREAM(ZRC_STREAM *stream, const char *path, uint32_t mode);

/*
 * ZRC_Open_Descriptor_STREAM - the same over an open, blocking descriptor of the caller, which Close leaves open:
 * standard input, a pipe, a socket. The stream starts at the descriptor's place, or at 0 where that has none.
 *
 *   mode  one that the descriptor allows; not ZRC_STREAM_APPEND
 */
ZRC_API uint32_t ZRC_Open_Descriptor_STREAM(ZRC_STREAM *stream, int32_t descriptor, uint32_t mode);

/*
 * ZRC_Open_Memory_STREAM - an empty memory buffer, for writing and reading. What is written is appended; reading
 * begins at the start and has a place of its own, the stream's position. Seeks to 0 ... its length, for reading. A
 * write that finds no memory appends nothing. ZRC_Get_Memory_STREAM and ZRC_Clear_Memory_STREAM go with it.
 */
ZRC_API uint32_t ZRC_Open_Memory_STREAM(ZRC_STREAM *stream);

/*
 * ZRC_Open_Null_STREAM - takes and counts what is written, and is at its end when it is read.
 *
 *   mode  not ZRC_STREAM_APPEND
 */
ZRC_API uint32_t ZRC_Open_Null_STREAM(ZRC_STREAM *stream, uint32_t mode);

/*
 * ZRC_Open_Digest_STREAM - a filter that feeds what flows through it to a digest unit. Nobody but the caller ends the
 * message: ZRC_Final_DIGEST when all has flowed. Does not seek.
 *
 *   next  open for the mode
 *   unit  initialised; not owned; stays in place while the stream is open
 *   mode  ZRC_STREAM_READ or ZRC_STREAM_WRITE, not both
 */
ZRC_API uint32_t ZRC_Open_Digest_STREAM(ZRC_STREAM *stream, ZRC_STREAM *next, ZRC_DIGEST_UNIT *unit, uint32_t mode);

/*
 * ZRC_Open_HMAC_STREAM - the same with an HMAC unit, and ZRC_Final_HMAC.
 */
ZRC_API uint32_t ZRC_Open_HMAC_STREAM(ZRC_STREAM *stream, ZRC_STREAM *next, ZRC_HMAC_UNIT *unit, uint32_t mode);

/*
 * ZRC_Open_Cipher_STREAM - a filter that enciphers or deciphers one message, as the unit was initialised. For
 * writing, the message ends with Flush or Close, which hand the last bytes on; a write after a Flush is refused,
 * because a second message would have the same IV. For reading, it ends with the next stream, and the last bytes are
 * delivered before the end. What was read of a message that is damaged at its end (wrong padding, not whole blocks)
 * is not to be trusted. Does not seek.
 *
 *   next  open for the mode
 *   unit  initialised, at the start of a message; not owned; stays in place while the stream is open. Initialise it
 *         again when a message was left without its end.
 *   mode  ZRC_STREAM_READ or ZRC_STREAM_WRITE, not both
 */
ZRC_API uint32_t ZRC_Open_Cipher_STREAM(ZRC_STREAM *stream, ZRC_STREAM *next, ZRC_BLOCK_CIPHER_UNIT *unit,
                                        uint32_t mode);

/*
 * ZRC_Read_STREAM - read what is there: 1 to `length` bytes. Fewer than `length` does not mean the end: a pipe or a
 * terminal gives what it has, a filter what it has ready. ZRC_Read_Exact_STREAM waits for all of them.
 *
 *   out     `length` bytes
 *   length  bytes; 0 reads nothing and is no error, at the end neither
 *   done    receives the bytes read; 0 after a failure
 *
 * Returns 0, or
 *   0x0D030049  ZRC_ERR_NULL_INPUT               a pointer is null
 *   0x0D03002B  ZRC_ERR_INVALID_INPUT            length is negative
 *   0x0D030034  ZRC_ERR_INVALID_UNIT             the stream, or the next of a filter, is closed
 *   0x0D030048  ZRC_ERR_NOT_SUPPORTED            it is not open for reading
 *   0x0D030013  ZRC_ERR_END_OF_STREAM            the end: nothing was read
 *   0x0D030050  ZRC_ERR_READ_FROM_FILE           the system refused; errno says why
 *   0x0D03005B  ZRC_ERR_UPDATE_DIGEST_FAIL       the digest unit refused the bytes
 *   0x0D03005C  ZRC_ERR_UPDATE_FAILURE           the HMAC unit refused them
 *   0x0D03005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher unit refused them
 *   0x0D030017  ZRC_ERR_FINAL_BLOCKCIPHER_FAIL   the message of a cipher filter does not end as it should; like the
 *                                                code before, every further Read returns it again
 *   0x0D030028  ZRC_ERR_INTERNAL                 an operation of the program's own gave a wrong number of bytes
 */
ZRC_API uint32_t ZRC_Read_STREAM(ZRC_STREAM *stream, uint8_t *out, int32_t length, int32_t *done);

/*
 * ZRC_Read_Exact_STREAM - read `length` bytes, in as many steps as it takes.
 *
 *   done  receives the bytes read, after a failure too
 *
 * Returns 0, or what ZRC_Read_STREAM returns, with 0x0D04 in front; 0x0D040013 when the stream ended before.
 */
ZRC_API uint32_t ZRC_Read_Exact_STREAM(ZRC_STREAM *stream, uint8_t *out, int32_t length, int32_t *done);

/*
 * ZRC_Write_STREAM - write `length` bytes, all of them. After a failure some of them may be written, except to
 * buffers and memory.
 *
 *   data    `length` bytes
 *   length  bytes; 0 writes nothing
 *
 * Returns 0, or
 *   0x0D050049  ZRC_ERR_NULL_INPUT     a pointer is null
 *   0x0D05002B  ZRC_ERR_INVALID_INPUT  length is negative
 *   0x0D050034  ZRC_ERR_INVALID_UNIT   the stream is closed
 *   0x0D050048  ZRC_ERR_NOT_SUPPORTED  it is not open for writing
 * a code that makes this a write that failed,
 *   0x0D050060  ZRC_ERR_WRITE_TO_FILE            the system refused, or the disk is full; errno says why
 *   0x0D050006  ZRC_ERR_BUF_TOO_SMALL            more than the rest of the buffer
 *   0x0D05003C  ZRC_ERR_MEMORY_ALLOC             no memory for a memory stream to grow
 *   0x0D05005B  ZRC_ERR_UPDATE_DIGEST_FAIL       the digest unit refused the bytes
 *   0x0D05005C  ZRC_ERR_UPDATE_FAILURE           the HMAC unit refused them
 *   0x0D05005A  ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL  the cipher unit refused them
 *   0x0D050013  ZRC_ERR_END_OF_STREAM            a cipher filter's message has ended with a Flush
 *   0x0D050034  ZRC_ERR_INVALID_UNIT             the next stream of a filter is closed
 * or the reason of an earlier write or flush that failed.
 */
ZRC_API uint32_t ZRC_Write_STREAM(ZRC_STREAM *stream, const uint8_t *data, int32_t length);

/*
 * ZRC_Seek_STREAM - go to a position, in bytes from the start.
 *
 * Returns 0, or, with the position unchanged,
 *   0x0D060049  ZRC_ERR_NULL_INPUT     stream is null
 *   0x0D06002B  ZRC_ERR_INVALID_INPUT  position is negative, or behind the end of a buffer or memory stream, or the
 *                                      system refused it
 *   0x0D060034  ZRC_ERR_INVALID_UNIT   the stream is closed
 *   0x0D060048  ZRC_ERR_NOT_SUPPORTED  null streams, filters, pipes and files open for appending do not seek
 */
ZRC_API uint32_t ZRC_Seek_STREAM(ZRC_STREAM *stream, int64_t position);

/*
 * ZRC_Rewind_STREAM - ZRC_Seek_STREAM to the start, with its codes.
 */
ZRC_API uint32_t ZRC_Rewind_STREAM(ZRC_STREAM *stream);

/*
 * ZRC_Flush_STREAM - hand on what was written and is held back, through all filters. Ends the message of a cipher
 * filter. Does nothing in a stream that is open for reading only. The disk's own cache is the system's affair.
 *
 * Returns 0, or
 *   0x0D070049  ZRC_ERR_NULL_INPUT              stream is null
 *   0x0D070034  ZRC_ERR_INVALID_UNIT            the stream, or the next of a filter, is closed
 *   0x0D070017  ZRC_ERR_FINAL_BLOCKCIPHER_FAIL  a cipher filter's message does not end as it should: wrong padding,
 *                                               or not whole blocks
 * and the reasons of ZRC_Write_STREAM for handing bytes on, or of an earlier write or flush that failed.
 */
ZRC_API uint32_t ZRC_Flush_STREAM(ZRC_STREAM *stream);

/*
 * ZRC_Copy_STREAM - copy all that can still be read, in pieces. Does not flush or close.
 *
 *   destination  open for writing
 *   source       open for reading
 *   copied       receives the bytes written, after a failure too; may be null
 *
 * Returns 0 at the end of the source, or
 *   0x0D090049  ZRC_ERR_NULL_INPUT     a stream is null
 *   0x0D09002B  ZRC_ERR_INVALID_INPUT  both are the same stream, or filters over the same
 * and the reasons of ZRC_Read_STREAM and ZRC_Write_STREAM.
 */
ZRC_API uint32_t ZRC_Copy_STREAM(ZRC_STREAM *destination, ZRC_STREAM *source, int64_t *copied);

/*
 * ZRC_Get_Memory_STREAM - the whole content of a memory stream, from its start. The position does not move.
 *
 *   out     *length bytes; ZRC_Get_STREAM_Length says how many it takes
 *   length  size of the buffer; receives the bytes written, and does not change after a failure
 *
 * Returns 0, or
 *   0x0D0A0049  ZRC_ERR_NULL_INPUT     a pointer is null
 *   0x0D0A0048  ZRC_ERR_NOT_SUPPORTED  no open memory stream
 *   0x0D0A0006  ZRC_ERR_BUF_TOO_SMALL  *length is less than the content's
 */
ZRC_API uint32_t ZRC_Get_Memory_STREAM(const ZRC_STREAM *stream, uint8_t *out, int32_t *length);

/*
 * ZRC_Clear_Memory_STREAM - wipe the content of a memory stream and start again with an empty one, in the same
 * memory. A write that failed is forgotten.
 *
 * Returns 0, or
 *   0x0D0B0049  ZRC_ERR_NULL_INPUT     stream is null
 *   0x0D0B0048  ZRC_ERR_NOT_SUPPORTED  no open memory stream
 */
ZRC_API uint32_t ZRC_Clear_Memory_STREAM(ZRC_STREAM *stream);

/*
 * ZRC_Get_STREAM_Length - bytes of a buffer stream (written so far, when it is for writing only), a memory stream, a
 * regular file, or what a null stream took; -1 for everything else and for null.
 */
ZRC_API int64_t ZRC_Get_STREAM_Length(const ZRC_STREAM *stream);

/*
 * ZRC_Close_STREAM - end what was written and close, whatever the result; the next stream of a filter stays open. The
 * stream can be opened again. Only when this returns 0, and for the streams below it too, has all that was written
 * arrived.
 *
 * Returns 0, or
 *   0x0D080049  ZRC_ERR_NULL_INPUT              stream is null
 *   0x0D080034  ZRC_ERR_INVALID_UNIT            the stream was closed, or the next of a cipher filter
 *                                               that writes is
 *   0x0D080007  ZRC_ERR_CANNOT_CLOSE_STREAM     the system refused the file's last bytes; errno says why
 *   0x0D080017  ZRC_ERR_FINAL_BLOCKCIPHER_FAIL  as in ZRC_Flush_STREAM
 * and the reasons of ZRC_Write_STREAM for handing on the last bytes, or of an earlier write or flush that failed.
 */
ZRC_API uint32_t ZRC_Close_STREAM(ZRC_STREAM *stream);

/*
 * ZRC_Free_STREAM - release a stream; null is allowed. One that is still open is given up: what it holds back is
 * lost, and the next stream is not touched.
 */
ZRC_API void ZRC_Free_STREAM(ZRC_STREAM *stream);

ZRC_END_DECLS

#endif
