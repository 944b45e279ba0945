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

#ifdef __cplusplus
}
#endif

#endif
