/* qorprim.h: the primitives that generated code calls, and their records.
 * Plain C99. A primitive that fails does not return: it reports through the
 * context and leaves by the non-local exit of the running encode or decode. */
#ifndef QORPRIM_H
#define QORPRIM_H

#include "qorcontrol.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define QOR_NORETURN __attribute__((noreturn))
#else
#define QOR_NORETURN
#endif

/* Wiring, called by the generated init entry. */
void qorLinkBer(QorGlobal *world);
void qorLinkPer(QorGlobal *world);
void qorLinkXer(QorGlobal *world);
void qorLinkOerE(QorGlobal *world);
void qorLinkOerD(QorGlobal *world);
/* Also keeps `exerTables` for the EXER encoder; returns the private area, or
 * null for a null context. */
void *qorLink_Exer(QorGlobal *world, void *exerTables);
void qorLinkZlib(QorGlobal *world);
/* Registers the second half of the control table. Returns 0, or 6 for a null
 * context. */
int qorInitXAPIentries(QorGlobal *world, QorXapiEntries *entries);

/* Generated code refers to this so that a link against another platform's
 * run-time library fails. */
void _qor_run_KROD_on_X86_64_LINUX(void);

/* Raising an error: `message` is a number of the message catalogue (0 to 307);
 * the exit value is the message's return code. None of these returns. */
QOR_NORETURN void _qor_enc_error(QorGlobal *world, int message, QorLong value);
QOR_NORETURN void _qor_enc_llerror(QorGlobal *world, int message, QorLong low, QorLong high);
QOR_NORETURN void _qor_krod_error(QorGlobal *world, int message, const char *value);
QOR_NORETURN void _qor_krod_real_error(QorGlobal *world, int message, double value);
/* `data` is shown as hexadecimal under messages 22 and 23, else as text. */
QOR_NORETURN void _qor_unbnd_error(QorGlobal *world, int message, const void *data, QorLong length);
/* For drivers, before an exit frame exists: makes the message and returns its
 * return code. */
int _qor_krod_api_error(QorGlobal *world, int message, QorLong value);

/* BER output, written backwards: the octets go just below `*pos`. Returns
 * `length`. */
QorLong _qor_write_bytes_d(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                           QorLong length);
/* Gathers the library's output blocks into one buffer from `userMalloc`;
 * `room` is what is left in the newest block. */
void _qor_set_outmem_d(QorGlobal *world, QorLong room, QorLong *lengthOut, unsigned char **valueOut);

/* Decoder output memory: from the caller's buffer, or from `userMalloc` with
 * every piece listed so that a failed decode frees them all. */
void *_qor_dec_getmem(QorGlobal *world, QorLong size);          /* rounded to 8, cleared */
void *_qor_dec_getmem_internal(QorGlobal *world, QorLong size); /* rounded to 8 */
void *_qor_dec_getfixmem(QorGlobal *world, QorLong size);       /* exact size */
void _qor_dec_free(QorGlobal *world, void *p);
void _qor_free_creal(QorGlobal *world, void *p); /* the same function */

#ifdef __cplusplus
}
#endif

#endif
