/* qorcontrol.h: the contract between the run-time library and generated code:
 * the context record, the control table and its entry points. Plain C99. */
#ifndef QORCONTROL_H
#define QORCONTROL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A "long" of the ASN.1 run-time interface is always 32 bits wide. */
typedef int32_t QorLong;
typedef uint32_t QorULong;

typedef struct QorGlobal QorGlobal;
typedef struct QorGlobalPrivate QorGlobalPrivate;

/* An encoded message: `length` octets at `value`. */
typedef struct QorBuf {
    QorLong length;
    unsigned char *value;
} QorBuf;

/* Slots of 1024-octet blocks, chained. The encoder output queue, the decoder's
 * list of handed-out pieces and the encoder stack all use this shape. */
#define QOR_BLOCK_SIZE 1024
#define QOR_BLOCK_SLOTS 52
typedef struct QorMemBlockRecord {
    int16_t count;
    void *slot[QOR_BLOCK_SLOTS];
    struct QorMemBlockRecord *next;
} QorMemBlockRecord;

/* Allocator hooks; the context is passed so that a hook can find its own state. */
typedef void *(*QorMallocFn)(QorGlobal *world, size_t size);
typedef void (*QorFreeFn)(QorGlobal *world, void *p);
typedef void *(*QorReallocFn)(QorGlobal *world, void *p, size_t size);

/* Print hooks: `QorPrintFn` has the shape of fprintf; the user function gets
 * the context and a finished format. */
typedef int (*QorPrintFn)(void *stream, const char *format, ...);
typedef int (*QorUserPrintFn)(QorGlobal *world, const char *format, ...);

/* Where a failure happened, kept by generated code as a stack, innermost first. */
typedef struct QorFieldInfo {
    const char *fieldName;
    const char *typeName;
    QorLong kind; /* 8, 10 or 21: SET OF, SEQUENCE OF or list: its components are elements */
} QorFieldInfo;

typedef struct QorFieldRecord {
    struct QorFieldRecord *link; /* the enclosing type's record; null on the outermost */
    const QorFieldInfo *info;
    QorLong index; /* element index, when the enclosing type is a list */
} QorFieldRecord;

/* An open type value. The extended form with `userField` is used only while
 * bit 0x4 of `presetDecFlags` is set. */
typedef struct QorOpenType {
    int pduNum;
    QorULong length;
    unsigned char *encoded;
    void *decoded;
} QorOpenType;

typedef struct QorOpenTypeUser {
    int pduNum;
    QorULong length;
    unsigned char *encoded;
    void *decoded;
    void *userField;
} QorOpenTypeUser;

/* Entry points of generated code. The results of init, encoder and decoder
 * entries are ignored: failures leave through the library's error calls. */
typedef int (*QorInitEntry)(QorGlobal *world);
typedef int (*QorEncodeEntry)(QorGlobal *world, int pdunum, void *value);
typedef int (*QorDecodeEntry)(QorGlobal *world, int *pdunum, void **output);
typedef int (*QorValueEntry)(QorGlobal *world, int pdunum, void *value);
typedef void *(*QorOerDecodeEntry)(QorGlobal *world, int pdunum);
typedef int (*QorCopyEntry)(QorGlobal *world, int pdunum, void *source, void **target);
typedef int (*QorCompareEntry)(QorGlobal *world, int pdunum, void *first, void *second);
typedef int (*QorExerEncodeEntry)(void *env, int pdunum, void *value);
typedef int (*QorExerDecodeEntry)(void *env, int *pdunum, void **output);

/* Versions the library expects in a control table. */
#define QOR_BER_VERSION 17
#define QOR_PER_VERSION 16
#define QOR_XER_VERSION 2
#define QOR_EXER_VERSION 0
#define QOR_OER_VERSION 0

typedef struct QorControlTable {
    QorInitEntry initEntry;
    QorEncodeEntry berEncodeEntry;
    QorDecodeEntry berDecodeEntry;
    QorValueEntry freeEntry;
    uint16_t berVersion; /* QOR_BER_VERSION */
    QorEncodeEntry perEncodeEntry;
    QorDecodeEntry perDecodeEntry;
    uint16_t perVersion; /* QOR_PER_VERSION when the table carries PER, else 0 */
    QorULong reserved[2];
    QorValueEntry printEntry; /* null when the table was made without printing */
} QorControlTable;

typedef struct QorXapiEntries {
    uint16_t xapiVersion;
    QorCopyEntry copyEntry;
    QorCompareEntry compareEntry;
    QorEncodeEntry xerEncodeEntry;
    QorDecodeEntry xerDecodeEntry;
    uint16_t xerVersion; /* QOR_XER_VERSION when the table carries XER, else 0 */
    QorValueEntry constraintEntry;
    QorULong reserved;
    QorExerEncodeEntry exerEncodeEntry;
    QorExerDecodeEntry exerDecodeEntry;
    uint16_t exerVersion;
    uint16_t oerVersion;
    QorEncodeEntry oerEncodeEntry;
    QorOerDecodeEntry oerDecodeEntry;
} QorXapiEntries;

/* Values of `operation`. */
#define QOR_OP_ENCODE 2
#define QOR_OP_DECODE 5
#define QOR_OP_CHECK 6

/* Bits of `ruleBits`. */
#define QOR_RULE_RELAXED 0x1 /* lenient decoding in force for this call */
#define QOR_RULE_DER_ALLOWED 0x2 /* set by the generated init entry */
#define QOR_RULE_CANONICAL_XER 0x4

/* The context. The application owns its memory; `qorinit` fills it. Words that
 * no library routine names are reserved for generated code and stay zero. */
struct QorGlobal {
    /* allocation and print head */
    void *(*mallocp)(size_t size);
    QorULong reserved0;
    void (*freep)(void *p);
    QorULong printChop;
    QorULong printFlags;
    QorULong printFlags2;
    void *printStream;
    QorPrintFn printFn;
    void *userVar;

    /* settings */
    QorControlTable *ctlTable;
    QorULong ctlWord; /* copied with the table by qorDupWorld */
    int encRules;
    QorULong encodingFlags;
    QorULong decodingFlags;
    QorLong decodingLength;
    char errMsgBuffer[512];
    QorULong internalFlags;

    /* call state */
    void *jumpFrame;
    void *oldSignalHandler;
    int lastError;
    char *errMsgTarget;
    unsigned char userBuffer;
    /* Set by generated code: the PER unbounded bit and octet string decoders
     * put their result in temporary memory. The drivers clear it. */
    unsigned char decodeToTemporary;
    /* Bit 0, set by generated code before _qor_pdec_push where an empty open
     * type is an error; the push reads and clears it. */
    unsigned char expectOpenTypeContent;
    QorFieldRecord *fieldStack;
    int pduNumber;
    const char *const *pduNames; /* (PDU name, type name) */
    int operation;
    unsigned char *outPos;
    QorLong outRoom;
    QorMemBlockRecord blockQueue;
    QorMemBlockRecord *blockQueueTail;
    void *tempBlockList;
    unsigned char *tempMark;
    unsigned char *tempLow;
    unsigned char *tempHigh;
    void *altDecList;
    QorLong totalBytes;
    QorULong ruleBits;
    QorULong outState;
    unsigned char perAligned;
    int bitOffset;
    QorGlobal *parentWorld;
    QorGlobal *childWorld;
    unsigned char *inPos;
    QorLong inRoom;
    void *nestedOutput;
    QorLong encLength;
    void *blockStack;

    /* hooks */
    void *savedPrintStream;
    QorPrintFn savedPrintFn;
    QorUserPrintFn userPrintFn;
    QorMallocFn userMalloc;
    QorReallocFn userRealloc;
    QorFreeFn userFree;
    QorULong printReset;
    uint16_t presetDecFlags;
    QorGlobalPrivate *privateArea;
    unsigned char *tagStartPos;
    QorLong tagStartRoom;
    void *syncObject;
    QorULong dupMark; /* 1 on a context made by qorDupWorld */

    /* printer state */
    int printIndent;
    unsigned char *printSinkPos;
    QorULong printSinkRoom;
    unsigned char *printSinkScratch;

    /* trace file and window */
    void *traceFile;
    char *traceFileName;
    void *traceWindow;
    void *traceTemp;
    void *traceLines;
    void *traceChunkCurrent;
    QorLong traceLineCount;
    QorLong traceChunkNumber;
    QorLong traceLineLength;
    unsigned char traceLineOpen;
    unsigned char traceDirty;

    void *reservedForGeneratedCode[4];
};

#ifdef __cplusplus
}
#endif

#endif
