/* qorapi.h: the application interface of the qorapit ASN.1 run-time library.
 * Plain C99. Every call takes the context first; results are return codes,
 * 0 for success (see qorDescribeReturnCode for the others). */
#ifndef QORAPI_H
#define QORAPI_H

#include <stdarg.h>

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
#define IGNORE_UNKNOWN_ATTRIBUTES 0x10000 /* EXER decoding: attributes nobody reads pass */
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
#define QOR_PARAMETER_RANGE 33
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

/* Information object sets. Generated code compiles each set into a list of
 * nodes; sets 1 to `extensibleCount` may change at run time in a context,
 * the others are fixed. Run-time nodes begin as compiled ones do, so the
 * list of qorGetInfoObjectSet reads alike either way. `uniqueFn` compares an
 * object's unique field with a key (action 1: 0 when it matches) or finds
 * the object of a key (action 2: stores it in the cell, 0 when found). */
typedef struct QorInfoObjectNode {
    struct QorInfoObjectNode *next;
    void *object;
} QorInfoObjectNode;
typedef struct QorObjectSetEntry {
    QorInfoObjectNode *compiled; /* shared and only read */
    QorInfoObjectNode *runtime;  /* the context's own list, once it changed */
    unsigned char *removed;      /* bit k of octet k / 8: compiled object k removed */
    QorULong compiledCount;
} QorObjectSetEntry;
typedef int (*QorUniqueFn)(QorGlobal *world, int setNumber, void *objectOrCell, void *key,
                           int action);
int qorInitXObjectSetTable(QorGlobal *world, QorLong setCount, QorInfoObjectNode **fixedSets,
                           QorObjectSetEntry *table, QorLong extensibleCount,
                           QorUniqueFn uniqueFn);
int qorAddInfoObject(QorGlobal *world, int setNumber, void *object);
int qorRemoveInfoObject(QorGlobal *world, int setNumber, void *object);
void *qorGetInfoObject(QorGlobal *world, int setNumber, void *key);
QorInfoObjectNode *qorGetInfoObjectSet(QorGlobal *world, int setNumber);

/* Trace output. A trace file takes the place of the print stream until it is
 * closed (27: it can't be opened; 28: one is open already; 46: closing
 * failed, the stream before it is back all the same). The trace window has
 * no window on this platform: its text goes to a temporary file with a line
 * index, which qorSaveTraceInfo copies out and qorFreeList starts afresh. */
int qorOpenTraceFile(QorGlobal *world, const char *path);
int qorCloseTraceFile(QorGlobal *world);
int qorOpenTraceWindow(QorGlobal *world);
int qorSaveTraceInfo(QorGlobal *world, const char *path);
int qorFreeList(QorGlobal *world);

/* The same octets as binary, hexadecimal text (upper-case digits) or base64
 * text; base64 input may have anything outside "+".."z" between its
 * characters. `output->value` null or `output->length` 0: new memory from
 * the context's allocator, freed with qorFreeBuf. The compression calls
 * have no compressor: 25 for valid arguments. */
#define QOR_DATA_BINARY 1
#define QOR_DATA_HEX 2
#define QOR_DATA_BASE64 4
int qorConvertData(QorGlobal *world, QorBuf *input, int inputFormat, QorBuf *output,
                   int outputFormat);
int qorCompress(QorGlobal *world, QorBuf *input, QorBuf *output, QorLong level);
int qorUnCompress(QorGlobal *world, QorBuf *input, QorBuf *output, QorLong flag);
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

/* Settings. Setters return 0, or 6 for a null context; getters give -1 for a
 * null context. Flag words and hooks stay with the context until changed. */
int qorSetEncodingFlags(QorGlobal *world, QorULong flags); /* 13 when INDEFINITE was asked */
int qorSetDecodingFlags(QorGlobal *world, QorULong flags);
QorLong qorGetEncodingFlags(QorGlobal *world);
QorLong qorGetDecodingFlags(QorGlobal *world);
/* Both words; the result is the encoding side's (13 for INDEFINITE, which the
 * decoding side keeps). */
int qorSetFlags(QorGlobal *world, QorULong flags);
QorLong qorGetFlags(QorGlobal *world); /* the two words ORed */
/* A code of QOR_BER to QOR_OER. 22 for ECN or an unknown code, nothing stored;
 * 23 when the control table or the linked drivers don't carry the rules: the
 * code is stored even so, and qorEncode and qorDecode refuse it. */
int qorSetEncodingRules(QorGlobal *world, int rules);
int qorGetEncodingRules(QorGlobal *world);
int qorSetInternalFlags(QorGlobal *world, QorULong flags);
QorLong qorGetInternalFlags(QorGlobal *world);
int qorSetCompatibilityFlags(QorGlobal *world, QorULong flags);
QorLong qorGetCompatibilityFlags(QorGlobal *world);
/* The compatibility flags by release: 0 to 5 (6 for another number, nothing
 * stored). The getter gives -2 when the flags are no release's exact set. */
int qorSetRuntimeVersion(QorGlobal *world, int version);
int qorGetRuntimeVersion(QorGlobal *world);
/* Tracing of messages and values; see the QOR_DEBUG_ bits. */
#define QOR_DEBUG_ERROR_HEADING 0x2
#define QOR_DEBUG_DECODER_OUTPUT 0x4
#define QOR_DEBUG_DECODER_INPUT 0x8
#define QOR_DEBUG_ENCODER_OUTPUT 0x10
#define QOR_DEBUG_ENCODER_INPUT 0x20
#define QOR_DEBUG_ERRORS 0x40
#define QOR_DEBUG_HEX_HEADING 0x80
int qorSetDebugFlags(QorGlobal *world, QorULong flags);
QorLong qorGetDebugFlags(QorGlobal *world);
/* Nesting limits: constructed strings (default 10), and SET, SEQUENCE, SET OF,
 * SEQUENCE OF and CHOICE (default 64); 0 means no limit. */
int qorSetConstructedNestingLimit(QorGlobal *world, int limit);
int qorGetConstructedNestingLimit(QorGlobal *world);
int qorSetSeqSetNestingLimit(QorGlobal *world, int limit);
int qorGetSeqSetNestingLimit(QorGlobal *world);
int qorSetDecodingLength(QorGlobal *world, QorLong length);
QorLong qorGetDecodingLength(QorGlobal *world);
/* The QOR_PRESET_ bits, 16 of them. These two don't test the context: it must
 * be an initialised one. */
int qorSetPresetDecFlags(QorGlobal *world, QorULong flags);
QorULong qorGetPresetDecFlags(QorGlobal *world);
/* Overrides the pad bits reported for the last PER encoding; no result. */
void qorSetPaddingBits(QorGlobal *world, int padBits);
/* For the generated init entry: the feature bits of the control table,
 * `count` bits in 32-bit words at `bits`, which stay the caller's and must
 * outlive the context. Only the first call on a context takes effect; a null
 * `bits` allows every rule. */
int qorPrivateSetMoreFlags(QorGlobal *world, int count, void *bits);
int qorPrivateGetMoreFlags(QorGlobal *world, int *count, void **bits); /* skips null pointers */

/* Hooks. The functions and streams stay the caller's. The getters skip null
 * pointers; each setter stores its functions even when they are null. */
void qorSetUserMallocFreeRealloc(QorGlobal *world, QorMallocFn mallocFn, QorFreeFn freeFn,
                                 QorReallocFn reallocFn);
void qorGetUserMallocFreeRealloc(QorGlobal *world, QorMallocFn *mallocFn, QorFreeFn *freeFn,
                                 QorReallocFn *reallocFn);
/* Library text goes to `fn` instead of the print function; a non-null
 * `stream` also replaces the print stream (a null print stream silences all
 * text). */
int qorSetUserPrint(QorGlobal *world, void *stream, QorUserPrintFn fn);
int qorGetUserPrint(QorGlobal *world, void **stream, QorUserPrintFn *fn);
typedef int (*QorUserVprintFn)(QorGlobal *world, const char *format, va_list args);
int qorSetUserVprint(QorGlobal *world, void *stream, QorUserVprintFn fn);
int qorGetUserVprint(QorGlobal *world, void **stream, QorUserVprintFn *fn);
/* Called after an open type is copied or compared, for the `userField` word;
 * a non-zero result fails the copy or compare. */
typedef int (*QorUserFieldCopyFn)(QorGlobal *world, const QorOpenTypeUser *source,
                                  QorOpenTypeUser *target);
typedef int (*QorUserFieldCompareFn)(QorGlobal *world, const QorOpenTypeUser *first,
                                     const QorOpenTypeUser *second);
int qorSetUserFieldCpyCmp(QorGlobal *world, QorUserFieldCopyFn copyFn,
                          QorUserFieldCompareFn compareFn);
int qorGetUserFieldCpyCmp(QorGlobal *world, QorUserFieldCopyFn *copyFn,
                          QorUserFieldCompareFn *compareFn);
/* One word for a wrapper layer; the context isn't tested, as above. */
int qorSetCppPointer(QorGlobal *world, void *pointer);
void *qorGetCppPointer(QorGlobal *world);

/* The XML prolog of the XER encoders. The texts are kept, not copied: they
 * must outlive the encodings. A null `href` drops the style sheet line.
 * qorSetXmlDTD: 6 when a kind other than QOR_DTD_NONE comes without a name
 * or an identifier. */
#define QOR_DTD_NONE 0
#define QOR_DTD_SYSTEM 1
#define QOR_DTD_PUBLIC 2
int qorSetXmlStylesheet(QorGlobal *world, const char *href);
int qorSetXmlDTD(QorGlobal *world, const char *name, const char *id, int kind);

/* The encoding of the `index`-th (from 0) addition of the chain at
 * `extensions`, into `*value`; the octets stay in the decoded value. 6 when
 * there is no such addition, with `*value` cleared. */
int qorGetExtensionAddition(QorGlobal *world, const QorExtensionAddition *extensions,
                            QorULong index, QorBuf *value);

/* Compression hooks are absent from this variant: each setter and its getter
 * are one call that gives 25, or 6 when every argument is null. */
typedef int (*QorCompressFn)(QorGlobal *world, const unsigned char *input, QorULong inputLength,
                             unsigned char *output, QorULong *outputLength, void *info);
typedef int (*QorDecompressFn)(QorGlobal *world, const unsigned char *input, QorULong inputLength,
                               unsigned char *output, QorULong *outputLength, void *info);
typedef QorULong (*QorCompSizeEstimatorFn)(QorGlobal *world, QorULong inputLength, void *info);
int qorSetCompressDecompressFunctions(QorGlobal *world, QorCompressFn compressFn,
                                      QorDecompressFn decompressFn);
int qorGetCompressDecompressFunctions(QorGlobal *world, QorCompressFn *compressFn,
                                      QorDecompressFn *decompressFn);
int qorSetCompressDecompressInfo(QorGlobal *world, void *info);
int qorGetCompressDecompressInfo(QorGlobal *world, void **info);
int qorSetCompSizeEstimator(QorGlobal *world, QorCompSizeEstimatorFn estimator);
int qorGetCompSizeEstimator(QorGlobal *world, QorCompSizeEstimatorFn *estimator);

/* Kept for older applications; fixed results. Marked objects aren't part of
 * this variant: qorMarkObj, qorGetObj and qorUnmarkObj give -1, qorTestObj 0.
 * There is no formatter buffer: the getter gives 0, the setter 25. */
int qorMarkObj(QorGlobal *world, void *object);
int qorGetObj(QorGlobal *world, void *handle);
int qorUnmarkObj(QorGlobal *world, void *handle);
int qorTestObj(QorGlobal *world, void *handle);
int qorCallerIsDecoder(QorGlobal *world); /* -1 */
void qorSetTimeout(QorGlobal *world, QorLong timeout); /* does nothing */
int qorGetFormatterBufferSize(QorGlobal *world);
int qorSetFormatterBufferSize(QorGlobal *world, QorULong size);

/* Memory handles: a private heap for decoded values. While a handle is
 * active, the context's allocator hooks use it; cleaning it throws away every
 * value in it at once. Create returns null for a null context or no memory;
 * the others return 6 for a null argument. */
typedef struct QorMemoryHandleStat {
    QorULong blockCount;
    QorULong totalBytes;
    QorULong usedInternally;
    QorULong allocated;
    QorULong free;
} QorMemoryHandleStat;
void *qorCreateMemoryHandle(QorGlobal *world, QorLong blockSize);
int qorCleanMemoryHandle(QorGlobal *world, void *handle);
int qorDeleteMemoryHandle(QorGlobal *world, void *handle);
int qorSetActiveMemoryHandle(QorGlobal *world, void *handle);
void *qorGetActiveMemoryHandle(QorGlobal *world);
/* flags & 0x0F: 0 sizes only, 1 a quiet walk, 2 and up print the handle,
 * blocks and fragments; 0x20 leaves addresses out. 18 for a damaged heap. */
int qorGetMemoryHandleStat(QorGlobal *world, void *handle, QorMemoryHandleStat *stats,
                           QorULong flags);

/* Value services. */
int qorFreePDU(QorGlobal *world, int pdunum, void *value);
/* Whether a value keeps the constraints of its type, by the generated
 * constraint entry: 0, or a code that names the kind of violation (17 for
 * one without a code of its own, 14 a memory violation under TRAPPING); 6
 * for a null context or value. No message is made, and a table without
 * constraint code gives 0. The operation stays a check after the call. */
int qorCheckConstraints(QorGlobal *world, int pdunum, void *value);

/* Printing. Text goes through the print route: with a null print stream
 * nothing is printed, user functions included; a user vprint function (on a
 * context with a control table) gets the format and its arguments; a user
 * print function, or a print function set on a context without a table, gets
 * finished text as ("%s", text); otherwise the stream is written and flushed.
 * A null context prints to the standard output. Results are the sink's. */
int qorPrint(QorGlobal *world, const char *format, ...);
int qorVprintWin(QorGlobal *world, const char *format, va_list args);
int qorPrintWin(QorGlobal *world, const char *format, ...); /* the same as qorPrint */
/* A value in ASN.1 value notation, by the control table's print entry. 0, or
 * the entry's result; 6 null context or value; 20 no control table; 7 wrong
 * table version; 3 a PDU number below 1 (allowed only while bit 0 of
 * `internalFlags` is set, as for a nested open type); 14 a memory violation
 * under TRAPPING. A table without a print entry prints advice and gives 0.
 * Leaf values longer than `printChop` characters (0: no limit) are cut. */
int qorPrintPDU(QorGlobal *world, int pdunum, void *value);
/* The older form; a null context runs on one of the call's own with `ctl`. */
int printPDU(QorGlobal *world, int pdunum, void *value, QorControlTable *ctl);
/* The same text into `buffer`, zero-terminated. With `length` and `value`
 * set, into the caller's buffer: 1 when it is too small, the text cut and
 * still zero-terminated. Otherwise into a buffer from `userMalloc` of the
 * exact size, stored in `buffer`, which the caller frees with qorFreeBuf
 * (8 when no memory). 6 for a null context, buffer or value, or a PDU
 * number below 1; otherwise as qorPrintPDU. */
int qorPrintPDUToBuffer(QorGlobal *world, int pdunum, void *value, QorBuf *buffer);
/* Octets of that text with its terminating zero; 0 on any failure. */
QorLong qorDeterminePDUBufferLength(QorGlobal *world, int pdunum, void *value);
/* Octets in hexadecimal, a blank after every 4 and a new line after every 32;
 * with QOR_DEBUG_HEX_HEADING set, a dump of 16 a line with offsets and
 * characters. Nothing for a null context or data. */
void qorPrintHex(QorGlobal *world, const unsigned char *data, QorLong length);
/* XML text: as it stands, or with `pretty` re-indented two blanks a level. */
void qorPrintXML(QorGlobal *world, const unsigned char *data, QorLong length, int pretty);
/* User print functions for an OCTET STRING, given its display string
 * ('hhhh'H): as quoted characters, "?" for those not printable; or as a
 * dotted address, each octet in decimal. */
void qorPrintOctetAsASCII(QorGlobal *world, const char *display);
void qorPrintOctetAsIPAddress(QorGlobal *world, const char *display);

/* Object identifier conversions, between the contents octets of an OBJECT
 * IDENTIFIER or RELATIVE-OID and its dotted text ("1.2.840") or value
 * notation ("{ 1 2 840 }"). An arc takes up to 64 bits.
 *
 * The contents go in the record of the encoded representation. The text goes
 * in a QorBuf, zero-terminated; its `length` counts the terminator. Either
 * output record with `value` set and `length` above 0 is the caller's buffer,
 * cleared first. Otherwise the result is made in a buffer of 2048 octets and
 * handed over in memory from the context's allocator, which the caller frees
 * with qorFreeMemory; after a code other than 0 and 1 the record is cleared.
 *
 * Octets to text: 6 a null context or record; 11 null octets; 5 no octets, or
 * a subidentifier unfinished at the end; 33 a subidentifier with more than 72
 * value bits or an arc of more than 21 digits; 1 a text that does not fit,
 * cut and still zero-terminated (handed over so, without a caller's buffer);
 * 8 no memory. Leading 0x80 octets of a subidentifier add nothing.
 *
 * Text to octets: numbers, with any run of blanks, ".", "{" and "}" around
 * them, so that every call reads both forms. 6 a null context, text or
 * record; 10 an empty text, another character, or fewer arcs than two (one
 * for a relative identifier); 33 an arc beyond 64 bits, or against the first
 * arcs' rules (a first arc above 2, a second above 39 under 0 and 1, a third
 * outside 1 to 26 under 0.0); 1 octets that do not fit, cut; 8 no memory. */
typedef struct QorEncodedOid {
    uint16_t length;
    unsigned char *value;
} QorEncodedOid;
int qorEncodedOidToDotVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text);
int qorEncodedOidToAsnVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text);
int qorEncodedRelOidToDotVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text);
int qorEncodedRelOidToAsnVal(QorGlobal *world, const QorEncodedOid *encoded, QorBuf *text);
int qorDotValToEncodedOid(QorGlobal *world, const char *string, QorEncodedOid *encoded);
int qorAsnValToEncodedOid(QorGlobal *world, const char *string, QorEncodedOid *encoded);
int qorDotValToEncodedRelOid(QorGlobal *world, const char *string, QorEncodedOid *encoded);
int qorAsnValToEncodedRelOid(QorGlobal *world, const char *string, QorEncodedOid *encoded);

/* TIME values as ISO 8601 text, parsed into records and written back. These
 * calls raise nothing: they run anywhere, and give 0 or 12, also for a null
 * argument and for lack of memory.
 *
 * The kind of a text, by its shape alone (nothing is validated): 0 a time
 * point, 1 a duration, 2 start and end, 3 start and duration, 4 duration and
 * end, 5 to 8 the same as 1 to 4 recurring ("Rn/..."), 9 none of these (or a
 * null context). */
int qorGetTimeKind(QorGlobal *world, const char *text);

/* A time point; the record is cleared before parsing. */
typedef struct QorTimePoint {
    /* 0x8000 century, 0x4000 year, 0x2000 week, 0x1000 month, 0x0800 day,
     * 0x0400 hours, 0x0200 minutes, 0x0100 seconds, 0x0080 UTC,
     * 0x0040 fraction, 0x0020 time difference */
    uint16_t flags;
    int32_t century;
    int32_t year;
    uint16_t week;
    uint16_t month;
    uint16_t day;
    uint16_t hours;
    uint16_t minutes;
    uint16_t seconds;
    QorULong fractionDigits;
    QorULong fraction;
    unsigned char diffMinutesPresent; /* top bit: `diffMinutes` was written */
    uint16_t diffHours;
    uint16_t diffMinutes;
    unsigned char diffNegative; /* 1 for "-" */
} QorTimePoint;

/* A duration. Parsing keeps the flag of every unit written, zero or not. */
typedef struct QorDuration {
    /* 0x80000000 years, 0x40000000 months, 0x20000000 weeks, 0x10000000 days,
     * 0x08000000 hours, 0x04000000 minutes, 0x02000000 seconds,
     * 0x01000000 a decimal fraction (of the last unit) */
    QorULong flags;
    QorULong years;
    QorULong months;
    QorULong weeks;
    QorULong days;
    QorULong hours;
    QorULong minutes;
    QorULong seconds;
    QorULong fractionDigits;
    QorULong fraction;
} QorDuration;

/* Text to records: the whole text must be of the call's kind. A recurrence
 * count is -1 for "R" alone, "R0" or a count written with a leading zero.
 * The two points of an interval must have the same components, except for a
 * time difference that only the start has. */
int qorStringToTimePoint(QorGlobal *world, const char *text, QorTimePoint *point);
int qorStringToDurationInterval(QorGlobal *world, const char *text, QorDuration *duration);
int qorStringToStartPointEndPointInterval(QorGlobal *world, const char *text, QorTimePoint *start,
                                          QorTimePoint *end);
int qorStringToStartPointDurationInterval(QorGlobal *world, const char *text, QorTimePoint *start,
                                          QorDuration *duration);
int qorStringToDurationEndPointInterval(QorGlobal *world, const char *text, QorDuration *duration,
                                        QorTimePoint *end);
int qorStringToDurationRecInterval(QorGlobal *world, const char *text, QorDuration *duration,
                                   QorLong *recurrences);
int qorStringToStartPointEndPointRecInterval(QorGlobal *world, const char *text,
                                             QorTimePoint *start, QorTimePoint *end,
                                             QorLong *recurrences);
int qorStringToStartPointDurationRecInterval(QorGlobal *world, const char *text,
                                             QorTimePoint *start, QorDuration *duration,
                                             QorLong *recurrences);
int qorStringToDurationEndPointRecInterval(QorGlobal *world, const char *text,
                                           QorDuration *duration, QorTimePoint *end,
                                           QorLong *recurrences);

/* Records to text. A null `*text` gets new memory of the exact size from the
 * context's allocator, which the caller frees with qorFreeBuf; otherwise the
 * caller's buffer must hold the text and its terminator (the call can't tell).
 * 12 for a record that can't be written, and the buffer is then untouched.
 * Under DER, CER and canonical XER (`encRules`) a duration leaves out units
 * of value 0 beside others, and an end point leaves out the time difference
 * that equals its start's. A recurrence count below 0 writes "R/". */
int qorTimePointToString(QorGlobal *world, const QorTimePoint *point, char **text);
int qorDurationIntervalToString(QorGlobal *world, const QorDuration *duration, char **text);
int qorStartPointEndPointIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                          const QorTimePoint *end, char **text);
int qorStartPointDurationIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                          const QorDuration *duration, char **text);
int qorDurationEndPointIntervalToString(QorGlobal *world, const QorDuration *duration,
                                        const QorTimePoint *end, char **text);
int qorDurationRecIntervalToString(QorGlobal *world, const QorDuration *duration,
                                   QorLong recurrences, char **text);
int qorStartPointEndPointRecIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                             const QorTimePoint *end, QorLong recurrences,
                                             char **text);
int qorStartPointDurationRecIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                             const QorDuration *duration, QorLong recurrences,
                                             char **text);
int qorDurationEndPointRecIntervalToString(QorGlobal *world, const QorDuration *duration,
                                           const QorTimePoint *end, QorLong recurrences,
                                           char **text);

/* Copy and compare, by the generated copy and compare entries. qorCpyValue:
 * `*target` null: the copy goes in the library's memory (free it with
 * qorFreePDU); else into the caller's buffer at `*target` of
 * qorSetDecodingLength octets. 0, or 6 for a null argument or a buffer of
 * no length, 25 without copy code, 1 a buffer too small, 8 no memory; after
 * a failure `*target` is null and nothing is kept. qorCmpValue: 0 when the
 * values are equal, else the entry's non-zero result; 6 and 25 as above.
 * Open types follow DONT_DO_ENCODED and DONT_DO_DECODED of either flag word. */
int qorCpyValue(QorGlobal *world, int pdunum, void *source, void **target);
int qorCmpValue(QorGlobal *world, int pdunum, void *first, void *second);

/* Cells and records for values built by hand, from the context's allocator
 * (free each with qorFreeMemory); null when memory runs out. Records are a
 * 32-bit count and a pointer; the CONTAINING records have a third word for
 * the decoded value. A count of 0 gives a null pointer, except from a text. */
int *qor__Int_copy(QorGlobal *world, int value);
QorLong *qor__Long_copy(QorGlobal *world, QorLong value);
unsigned int *qor__UInt_copy(QorGlobal *world, unsigned int value);
QorULong *qor__ULong_copy(QorGlobal *world, QorULong value);
void **qor__Ptr_copy(QorGlobal *world, void *value);
int64_t *qor__LongLong_copy(QorGlobal *world, int64_t value);
uint64_t *qor__ULongLong_copy(QorGlobal *world, uint64_t value);
char *qor__Bool_copy(QorGlobal *world, char value);
char *qor__Char_copy(QorGlobal *world, char value);
unsigned char *qor__UChar_copy(QorGlobal *world, unsigned char value);
float *qor__Float_copy(QorGlobal *world, float value);
double *qor__Double_copy(QorGlobal *world, double value);
char *qor__CharStr_new(QorGlobal *world, QorULong size); /* size + 1 octets, empty */
char *qor__CharStr_copy(QorGlobal *world, const char *text);
/* The data with a zero octet behind it. */
void *qor__UnbCharString_copy(QorGlobal *world, const char *data, QorULong length);
void *qor__UnbCharString_copy_nullterm(QorGlobal *world, const char *text);
void *qor__BmpString_copy(QorGlobal *world, const uint16_t *data, QorULong count);
void *qor__UnivString_copy(QorGlobal *world, const QorULong *data, QorULong count);
/* bits / 8 + 1 octets: one more than needed on a whole octet, cleared. */
void *qor__UnbBitStr_copy(QorGlobal *world, const unsigned char *data, QorULong bits);
/* A time record from GeneralizedTime or UTCTime text, by the conversions
 * (the fraction to milliseconds; "Z" sets `utc`): 0 or the conversion's
 * code, the record untouched then. The copy forms give a new record (free
 * it with qorFreeMemory), or null. */
int qor__GeneralizedTime_setv_nullterm(QorGlobal *world, GeneralizedTime *record, const char *text);
int qor__UTCTime_setv_nullterm(QorGlobal *world, GeneralizedTime *record, const char *text);
GeneralizedTime *qor__GeneralizedTime_copy_nullterm(QorGlobal *world, const char *text);
GeneralizedTime *qor__UTCTime_copy_nullterm(QorGlobal *world, const char *text);
void *qor__UnbSeqOf_new(QorGlobal *world, QorULong count, QorULong size, int clear);
void *qor__UnbSeqOf_copy(QorGlobal *world, const void *data, QorULong count, QorULong size);
void *qor__BitStrCC_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong bits);
void *qor__OctStrCC_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong length);
void *qor__CC_copy_decoded(QorGlobal *world, void *value, int pdunum);
/* Open type records of `recordSize` octets, cleared, with the encoding, or
 * with a copy of `value` by qorCpyValue (free that with qorFreePDU). The
 * "new" form has its length and octets at `offset`, or the PDU number in
 * its first `width` octets (1, 2 or 4) and the value's pointer at `offset`. */
void *qor__OpenType_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong length,
                                 QorULong recordSize);
void *qor__OpenType_copy_decoded(QorGlobal *world, void *value, int pdunum, QorULong recordSize);
void *qor__NewOpenType_copy_encoded(QorGlobal *world, const unsigned char *data, QorULong length,
                                    QorULong recordSize, QorULong offset);
void *qor__NewOpenType_copy_decoded(QorGlobal *world, void *value, int pdunum,
                                    QorULong recordSize, int width, QorULong offset);

/* UTCTime and GeneralizedTime text and plain integers. `mindiff` is 0 for
 * local time (UTCTime: UTC, "Z"), 1 for UTC, otherwise minutes east. A
 * GeneralizedTime fraction is `fraction` in `precision` decimal digits. Under
 * DER and CER (`encRules`) only the canonical form is written or read. The
 * text buffers must hold the text; 12 for anything out of range or broken. */
int qorIntsToGeneralizedTime(QorGlobal *world, int year, int month, int day, int hour,
                             int minute, int second, int fraction, int precision, int mindiff,
                             char *text);
int qorGeneralizedTimeToInts(QorGlobal *world, const char *text, int *year, int *month, int *day,
                             int *hour, int *minute, int *second, int *fraction,
                             short *precision, int *mindiff);
int qorIntsToUTCTime(QorGlobal *world, int year, int month, int day, int hour, int minute,
                     int second, int mindiff, char *text);
int qorUTCTimeToInts(QorGlobal *world, const char *text, int *year, int *month, int *day,
                     int *hour, int *minute, int *second, int *mindiff);
/* The same with the six date and time cells 16 bits wide, written only on
 * success. */
int qorGeneralizedTimeToShorts(QorGlobal *world, const char *text, short *year, short *month,
                               short *day, short *hour, short *minute, short *second,
                               int *fraction, short *precision, int *mindiff);
int qorUTCTimeToShorts(QorGlobal *world, const char *text, short *year, short *month, short *day,
                       short *hour, short *minute, short *second, int *mindiff);

/* Calendar time: seconds since 1970-01-01T00:00:00Z, reckoned in 32 bits as
 * the classic interfaces did, so nothing after 2038-01-19T03:14:07Z. A
 * UTCTime's two-digit year means 1950 to 2049. 6 for a null argument, 12 for
 * a value out of range, 8 for lack of memory. A null `*record` or `*text`
 * gets memory from qorGetMemory, freed again on failure. */
int qorUTCTimeStructToCalTime(QorGlobal *world, const GeneralizedTime *record, int64_t *calendar);
int qorGenTimeStructToCalTime(QorGlobal *world, const GeneralizedTime *record, int64_t *calendar);
int qorUTCTimeStringToCalTime(QorGlobal *world, const char *text, int64_t *calendar);
int qorGenTimeStringToCalTime(QorGlobal *world, const char *text, int64_t *calendar);
int qorCalTimeToUTCTimeStruct(QorGlobal *world, int64_t calendar, int mindiff,
                              GeneralizedTime **record);
int qorCalTimeToGenTimeStruct(QorGlobal *world, int64_t calendar, int mindiff,
                              GeneralizedTime **record);
int qorCalTimeToUTCTimeString(QorGlobal *world, int64_t calendar, int mindiff, char **text);
int qorCalTimeToGenTimeString(QorGlobal *world, int64_t calendar, int mindiff, char **text);

/* XML Schema date and time forms and plain integers. `tz` is 0x7FFFFFFE for
 * no zone, 0x7FFFFFFF for "Z", otherwise minutes east, at most 840 either
 * way. A fraction is `fractionLength` digit characters at `fraction`; read
 * back, it points into the caller's text (null when there is none). A null
 * `*text` gets new memory from the context's allocator (qorFreeBuf). 12 for
 * anything out of range or malformed, and for lack of memory. */
int qorIntsToDate(QorGlobal *world, int year, int month, int day, int tz, char **text);
int qorDateToInts(QorGlobal *world, const char *text, int *year, int *month, int *day, int *tz);
int qorIntsToTime(QorGlobal *world, int hour, int minute, int second, const char *fraction,
                  int fractionLength, int tz, char **text);
int qorTimeToInts(QorGlobal *world, const char *text, int *hour, int *minute, int *second,
                  const char **fraction, int *fractionLength, int *tz);
int qorIntsToDateTime(QorGlobal *world, int year, int month, int day, int hour, int minute,
                      int second, const char *fraction, int fractionLength, int tz, char **text);
int qorDateTimeToInts(QorGlobal *world, const char *text, int *year, int *month, int *day,
                      int *hour, int *minute, int *second, const char **fraction,
                      int *fractionLength, int *tz);
int qorIntsToGYear(QorGlobal *world, int year, int tz, char **text);
int qorGYearToInts(QorGlobal *world, const char *text, int *year, int *tz);
int qorIntsToGYearMonth(QorGlobal *world, int year, int month, int tz, char **text);
int qorGYearMonthToInts(QorGlobal *world, const char *text, int *year, int *month, int *tz);
int qorIntsToGMonth(QorGlobal *world, int month, int tz, char **text);
int qorGMonthToInts(QorGlobal *world, const char *text, int *month, int *tz);
int qorIntsToGMonthDay(QorGlobal *world, int month, int day, int tz, char **text);
int qorGMonthDayToInts(QorGlobal *world, const char *text, int *month, int *day, int *tz);
int qorIntsToGDay(QorGlobal *world, int day, int tz, char **text);
int qorGDayToInts(QorGlobal *world, const char *text, int *day, int *tz);
/* A duration: units of 0 are left out, and all of them 0 is "PT0S", with no
 * sign. */
int qorIntsToDuration(QorGlobal *world, int negative, int years, int months, int days, int hours,
                      int minutes, int seconds, const char *fraction, int fractionLength,
                      char **text);
int qorDurationToInts(QorGlobal *world, const char *text, int *negative, int *years, int *months,
                      int *days, int *hours, int *minutes, int *seconds, const char **fraction,
                      int *fractionLength);

#ifdef __cplusplus
}
#endif

#endif
