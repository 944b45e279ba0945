/* qorapi.h: the application interface of the qorapit ASN.1 run-time library.
 * Plain C99. Every call takes the context first; results are return codes,
 * 0 for success (see qorDescribeReturnCode for the others). */
#ifndef QORAPI_H
#define QORAPI_H

#include "qorcontrol.h"
#include "qorprim.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Encoding rules: values of `encRules`. */
#define QOR_BER 0
#define QOR_PER_ALIGNED 1
#define QOR_PER_UNALIGNED 2
#define QOR_DER 3
#define QOR_ECN 4 /* never implemented */
#define QOR_XER 5
#define QOR_CXER 6
#define QOR_CER 7
#define QOR_EXER 8
#define QOR_OER 9

/* Bits of `encodingFlags` and `decodingFlags`. */
#define IGNORE_PDU_TAG 0x1
#define DEBUGPDU 0x2
#define BUFFER_PROVIDED 0x4
#define RESTRAIN 0x8
#define DEFINITE 0x10
#define INDEFINITE 0x20
#define DETERMINE_ENC_LENGTH 0x40
#define FRONT_ALIGN 0x80
#define BACK_ALIGN 0x100
#define NOTRAPPING 0x200
#define QOR_RELAXED 0x400
#define NOCONSTRAIN 0x800
#define OBJECT_HANDLE 0x1000
#define AUTOMATIC_ENCDEC 0x2000
#define TRAPPING 0x20000
#define DONT_FREE_ENCODED 0x40000
#define DONT_DO_ENCODED 0x80000
#define DONT_DO_DECODED 0x100000
#define SMART_POINTER 0x200000
#define IGNORE_DEFER_DECODING 0x400000
#define STRICT_CONSTRAINT_CHECKING 0x800000
#define QOR_AUTO_ENCODE_WITHOUT_CHECKING_CONSTRAINT 0x1000000
#define COMPACT_XER_ENCODING 0x2000000
#define NO_XML_DECLARATION 0x4000000
#define STRICT_PER_ENCODING_OF_DEFAULT_VALUES 0x8000000
#define STRICT_ENCODING_DECODING_RULES 0x20000000
#define COMPRESS 0x40000000

/* Bits of `presetDecFlags`. */
#define QOR_PRESET_ADVANCE_INPUT 0x1 /* decoders move the caller's QorBuf past the PDU */
#define QOR_PRESET_OPEN_TYPE_USER_FIELD 0x4

/* Return codes most often tested by applications. */
#define QOR_OK 0
#define QOR_BUFFER_TOO_SMALL 1
#define QOR_NEGATIVE_UNSIGNED 2
#define QOR_PDU_RANGE 3
#define QOR_MORE_INPUT 4
#define QOR_DATA_ERROR 5
#define QOR_BAD_ARG 6
#define QOR_BAD_VERSION 7
#define QOR_OUT_OF_MEMORY 8
#define QOR_BAD_CHOICE_OR_PDU 9
#define QOR_LIMITED 10
#define QOR_NULL_INPUT 11
#define QOR_BAD_TIME 12
#define QOR_INDEFINITE_NOT_SUPPORTED 13
#define QOR_MEMORY_VIOLATION 14
#define QOR_TABLE_CORRUPT 15
#define QOR_CONSTRAINT_VIOLATED 17
#define QOR_FATAL 18
#define QOR_SYNC_ERROR 19
#define QOR_NULL_TABLE 20
#define QOR_NULL_FUNCTION 21
#define QOR_UNKNOWN_RULES 22
#define QOR_RULES_NOT_LINKED 23
#define QOR_NOT_SUPPORTED 25
#define QOR_LIBRARY_LOAD_FAILED 97

/* Exported data. While `_qorSetGlobalUserVar` is 0, qorinit keeps `userVar`. */
extern int _qorSetGlobalUserVar;
extern const unsigned char qorEncoderDecoderType; /* 1: the code-generating variant */
extern const uint16_t _qorCharFlags[256];
#define QOR_CHAR_DIGIT 0x04
#define QOR_CHAR_LOWER 0x08
#define QOR_CHAR_PRINTABLE 0x20
#define QOR_CHAR_SPACE 0x80
#define QOR_CHAR_UPPER 0x100

/* Context lifecycle. qorinit: 0; 6 null context; 8 no memory; 20 null table
 * (the context is left without a table); 21 table without initEntry; 7 wrong
 * versions. */
int qorinit(QorGlobal *world, QorControlTable *ctl);
/* Ends a context; a no-op on an ended one. Output handed over stays the caller's. */
void qorterm(QorGlobal *world);
/* A context for another thread, sharing the table and settings of an idle
 * `source`. Results as qorinit. */
int qorDupWorld(QorGlobal *source, QorGlobal *target);
/* A context without a control table, for memory, print and time services. */
int qorbriefinit(QorGlobal *world);
void qorbriefterm(QorGlobal *world);
/* qorinit that may take the table from a shared library exporting
 * "qorGetHeader"; 97 when that fails. */
int qorWinit(QorGlobal *world, QorControlTable *ctl, const char *library, void *window);
void qorWterm(QorGlobal *world);
int qorGetQorGlobalSize(void);
/* Once around all use of the library by a program with several threads. */
int qorInitSync(void);
void qorTermSync(void);
int qorLoadMemoryManager(QorGlobal *world, int kind, const char *name); /* always 4 */

/* Encoding and decoding. `output->value` null: the library allocates the
 * encoding (free it with qorFreeBuf); else the caller's buffer of
 * `output->length` octets receives it. `*output` null on decoding: the
 * library allocates the value (free it with qorFreePDU); else the value goes
 * into the caller's buffer of qorSetDecodingLength octets. */
int qorEncode(QorGlobal *world, int pdunum, void *value, QorBuf *output);
int qorDecode(QorGlobal *world, int *pdunum, QorBuf *input, void **output);
QorLong qorDetermineEncodingLength(QorGlobal *world, int pdunum, void *value); /* 0 on failure */
/* Header plus contents length of a BER encoding; 0 when not yet known. */
QorLong qorDetermineMessageLength(QorGlobal *world, QorBuf *input);
int qorDetermineNumberOfPadBits(QorGlobal *world);
int qorSkipPadBytes(QorGlobal *world, QorBuf *input, unsigned char pad);
int qorSkipCompressionPrefix(QorGlobal *world, QorBuf *input, QorLong *originalLength,
                             QorLong *compressedLength);
QorLong qorGetBytesReadByDecoder(QorGlobal *world);
void qorFreeBuf(QorGlobal *world, void *buffer);
void freeBUF(QorGlobal *world, void *buffer);

/* The older interface. */
int encode(QorGlobal *world, int pdunum, void *value, unsigned char **encoded, QorLong *length,
           QorControlTable *ctl, QorULong flags, char *errMsg);
int decode(QorGlobal *world, int *pdunum, unsigned char **encoded, QorLong *length, void **output,
           QorLong *outputLength, QorControlTable *ctl, QorULong flags, char *errMsg);
int freePDU(QorGlobal *world, int pdunum, void *value, QorControlTable *ctl);

/* Messages. */
const char *qorGetErrMsg(QorGlobal *world);
void free_ext_errMsg(QorGlobal *world);
const char *qorDescribeReturnCode(QorGlobal *world, int code);

/* The context's allocator, for applications: null when no allocator is set;
 * the initialised form clears. */
void *qorGetMemory(QorGlobal *world, QorLong size);
void *qorGetInitializedMemory(QorGlobal *world, QorLong size);
void qorFreeMemory(QorGlobal *world, void *p);
/* Caller's memory for the temporary data of later calls, instead of any
 * allocation; null stops its use. 1 when too small to use. */
int qorSetTemporaryBuffer(QorGlobal *world, QorBuf *buffer);

/* Settings. */
int qorSetEncodingFlags(QorGlobal *world, QorULong flags); /* 13 when INDEFINITE was asked */
int qorSetDecodingFlags(QorGlobal *world, QorULong flags);
QorLong qorGetEncodingFlags(QorGlobal *world);
QorLong qorGetDecodingFlags(QorGlobal *world);
int qorSetCompatibilityFlags(QorGlobal *world, QorULong flags);
QorLong qorGetCompatibilityFlags(QorGlobal *world);
int qorSetDecodingLength(QorGlobal *world, QorLong length);
QorLong qorGetDecodingLength(QorGlobal *world);
void qorSetUserMallocFreeRealloc(QorGlobal *world, QorMallocFn mallocFn, QorFreeFn freeFn,
                                 QorReallocFn reallocFn);
void qorGetUserMallocFreeRealloc(QorGlobal *world, QorMallocFn *mallocFn, QorFreeFn *freeFn,
                                 QorReallocFn *reallocFn);

/* Value services. */
int qorFreePDU(QorGlobal *world, int pdunum, void *value);

#ifdef __cplusplus
}
#endif

#endif
