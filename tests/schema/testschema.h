/* The hand-written test schema module: a control table and entries written
 * the way generated code is, for the tests, the demo and the benchmarks. */
#ifndef TESTSCHEMA_H
#define TESTSCHEMA_H

#include "qorapi.h"

#ifdef __cplusplus
extern "C" {
#endif

/* PDU numbers. */
enum {
    PDU_Raw = 1,   /* OCTET STRING */
    PDU_Fault = 2, /* SEQUENCE whose encoder and decoder fail on purpose */
    PDU_Bag = 3,   /* SET OF OCTET STRING */
    PDU_Bags = 4,  /* [APPLICATION 1] SET OF Bag */
    PDU_Record = 5, /* [APPLICATION 2] SEQUENCE of simple values */
    PDU_PersonnelRecord = 6, /* the classic example of the encoding rules */
    PDU_Envelope = 7, /* an open type, encoded and decoded automatically when asked */
    PDU_Chain = 8,    /* a recursive SEQUENCE, nested as deep as its value */
    PDU_PersonnelConstrained = 9, /* the same with permitted alphabets and sizes */
    PDU_Gauges = 10, /* constrained whole numbers, ENUMERATED, strings: PER only */
    PDU_Texts = 11,  /* character strings in every memory form: PER only */
    PDU_Bits = 12, /* bit and octet strings in every memory form: PER only */
    PDU_PersonnelExtensible = 13, /* with extension markers and an addition: PER only */
    PDU_PersonnelExtensibleFirst = 14, /* its first version, without the addition: PER only */
    PDU_Widths = 15,   /* whole numbers of every OER width: OER only */
    PDU_Levels = 16,   /* ENUMERATED, signed and unsigned: OER only */
    PDU_Extended = 17, /* a SEQUENCE with an extension addition: OER only */
    PDU_Nothing = 18,  /* NULL, whose OER encoding is empty: OER only */
    PDU_Leaves = 19, /* object identifiers, REAL, times and an open type: PER only */
    PDU_Lexems = 26, /* any XML document, decoded as the lexer's trace: EXER only */
    PDU_Probes = 27, /* the same, read by the value decoders' calls: EXER only */
    PDU_OerBits = 29,   /* bit strings in every OER memory form: OER only */
    PDU_OerTexts = 30,  /* character strings in every OER memory form: OER only */
    PDU_OerLeaves = 31, /* object identifiers, REAL and times in OER's forms: OER only */
    PDU_Times = 35, /* TIME, its text the value itself: PER only */
    PDU_COUNT = 35
};

/* Raw ::= OCTET STRING */
typedef struct Raw {
    QorLong length;
    unsigned char *data;
} Raw;

/* Bag ::= SET OF OCTET STRING (SIZE(0..4000)) */
typedef struct Bag {
    QorLong count;
    Raw *items;
} Bag;

/* Bags ::= [APPLICATION 1] IMPLICIT SET OF Bag */
typedef struct Bags {
    QorLong count;
    Bag *items;
} Bags;

/* Record ::= [APPLICATION 2] IMPLICIT SEQUENCE {   -- automatic tags
 *     id [0] INTEGER,
 *     active [1] BOOLEAN DEFAULT TRUE,
 *     count [2] INTEGER OPTIONAL,
 *     level [3] ENUMERATED { low(0), medium(1), high(2) } DEFAULT medium,
 *     nothing [4] NULL OPTIONAL,
 *     inner [5] Inner,
 *     pick [6] Pick,
 *     numbers [7] SEQUENCE OF INTEGER,
 *     big [8] INTEGER (-9223372036854775808..9223372036854775807) OPTIONAL,
 *     ratio [9] REAL OPTIONAL,
 *     when [10] GeneralizedTime OPTIONAL }
 * Inner ::= SEQUENCE { a [0] INTEGER, b [1] INTEGER OPTIONAL }
 * Pick ::= CHOICE { number [0] INTEGER, flag [1] BOOLEAN, code [2] INTEGER (0..4294967295) } */
typedef struct Inner {
    unsigned char bit_mask;
#define Inner_b_present 0x80
    QorLong a;
    QorLong b;
} Inner;

typedef struct Pick {
    unsigned short choice;
#define Pick_number_chosen 1
#define Pick_flag_chosen 2
#define Pick_code_chosen 3
    union {
        QorLong number;
        char flag;
        QorULong code;
    } u;
} Pick;

enum Level { Level_low = 0, Level_medium = 1, Level_high = 2 };

typedef struct Record {
    unsigned char bit_mask;
#define Record_count_present 0x80
#define Record_nothing_present 0x40
#define Record_big_present 0x20
#define Record_ratio_present 0x10
#define Record_when_present 0x08
    QorLong id;
    char active;
    QorLong count;
    int level;
    Inner inner;
    Pick pick;
    struct {
        QorLong count;
        QorLong *value;
    } numbers;
    int64_t big;
    double ratio;
    GeneralizedTime when;
} Record;

/* PersonnelRecord ::= [APPLICATION 0] IMPLICIT SET {
 *     name Name, title [0] VisibleString, number EmployeeNumber,
 *     dateOfHire [1] Date, nameOfSpouse [2] Name,
 *     children [3] IMPLICIT SEQUENCE OF ChildInformation DEFAULT {} }
 * ChildInformation ::= SET { name Name, dateOfBirth [0] Date }
 * Name ::= [APPLICATION 1] IMPLICIT SEQUENCE {
 *     givenName VisibleString, initial VisibleString, familyName VisibleString }
 * EmployeeNumber ::= [APPLICATION 2] IMPLICIT INTEGER
 * Date ::= [APPLICATION 3] IMPLICIT VisibleString -- YYYYMMDD
 * (explicit tags by default). Strings are null-terminated. */
typedef struct Name {
    char *givenName;
    char *initial;
    char *familyName;
} Name;

/* `sex` is an extension addition of the extensible module (below). */
typedef struct ChildInformation {
    Name name;
    char *dateOfBirth;
    unsigned char bit_mask;
#define ChildInformation_sex_present 0x80
    QorLong sex; /* ENUMERATED { male(1), female(2), unknown(3) } */
} ChildInformation;

typedef struct PersonnelRecord {
    Name name;
    char *title;
    QorLong number;
    char *dateOfHire;
    Name nameOfSpouse;
    struct {
        QorLong count;
        ChildInformation *value;
    } children;
} PersonnelRecord;

/* The value of the examples: John P Smith, Director, number 51. */
extern PersonnelRecord personnelExample;

/* The PersonnelRecord entries, called by the schema's switch. */
void personnelEncode(QorGlobal *world, const PersonnelRecord *value, unsigned char **pos,
                     QorLong *room);
void *personnelDecode(QorGlobal *world, unsigned char **pos, QorLong *room);
void personnelFree(QorGlobal *world, PersonnelRecord *value);

/* The same value type in three more modules. The constrained one:
 * NameString ::= VisibleString (FROM("a".."z" | "A".."Z" | "-.") ^ SIZE(1..64)),
 * the initial a NameString (SIZE(1)), Date ::= VisibleString (FROM("0".."9")
 * ^ SIZE(8)). Its BER is the same; PER differs. The extensible one: the
 * constrained one with extension markers in PersonnelRecord, Name and
 * ChildInformation, extensible sizes (NameString SIZE(1..64, ...), Date
 * SIZE(8, ..., 9..20), children SIZE(2, ...)), EmployeeNumber INTEGER
 * (0..9999, ...), children OPTIONAL, and the addition `sex` in
 * ChildInformation. Its first version, the same without `sex`, knows no
 * addition. The PER entries take the module. */
enum PersonnelModule {
    PersonnelPlain = 0,
    PersonnelConstrained = 1,
    PersonnelExtensible = 2,
    PersonnelExtensibleFirst = 3
};
void personnelPerEncode(QorGlobal *world, const PersonnelRecord *value, int module);
void *personnelPerDecode(QorGlobal *world, int module);
/* The value of the extensible module's example: the second child's sex is female. */
extern PersonnelRecord personnelExtensibleExample;

/* Leaves ::= SEQUENCE {
 *     id       OBJECT IDENTIFIER, -- an allocated array of arcs
 *     path     OBJECT IDENTIFIER, -- a linked list
 *     relative RELATIVE-OID,      -- the contents octets
 *     ratio    REAL,              -- a double
 *     mixed    REAL,              -- a double or a decimal text
 *     when     GeneralizedTime,
 *     day      UTCTime,
 *     content  OPEN TYPE }        -- holding an INTEGER */
typedef struct Leaves {
    struct {
        uint16_t count;
        QorULong *value;
    } id;
    QorObjidNode *path;
    struct {
        QorLong length;
        unsigned char *value;
    } relative;
    double ratio;
    QorMixedReal mixed;
    GeneralizedTime when;
    GeneralizedTime day;
    QorLong content;
} Leaves;

extern Leaves leavesExample;
void leavesPerEncode(QorGlobal *world, const Leaves *value);
void *leavesPerDecode(QorGlobal *world);
void leavesFree(QorGlobal *world, Leaves *value);

/* Gauges ::= SEQUENCE {
 *     tiny   INTEGER (0..7),
 *     octet  INTEGER (0..255),
 *     word   INTEGER (-1000..60000),
 *     wide   INTEGER (0..4294967295),
 *     offset INTEGER (-100..MAX),
 *     any    INTEGER,
 *     ext    INTEGER (0..7, ...),
 *     big    INTEGER (-9223372036854775808..9223372036854775807),
 *     huge   INTEGER,                 -- an octet array, unconstrained huge form
 *     level  ENUMERATED { a, b, c, ..., d, e },
 *     code   IA5String (FROM ("A".."Z")) (SIZE (1..8)),
 *     digits NumericString (SIZE (1..10)),
 *     note   VisibleString OPTIONAL,
 *     list   SEQUENCE (SIZE (0..100000)) OF INTEGER (0..255)
 * }
 * A PDU with PER entries only: BER refuses it. Whole numbers of a small
 * range take the smallest type that holds them; `huge` is two's complement,
 * most significant octet first; strings are null-terminated. A decoded
 * `level` that this version doesn't know comes back as -1 less its index
 * among the additions (-3 for the first after `e`). */
enum GaugeLevel {
    GaugeLevel_a = 0,
    GaugeLevel_b = 1,
    GaugeLevel_c = 2,
    GaugeLevel_d = 3,
    GaugeLevel_e = 4
};

typedef struct Gauges {
    unsigned char bit_mask;
#define Gauges_note_present 0x80
    unsigned char tiny;
    unsigned char octet;
    QorLong word;
    QorULong wide;
    QorLong offset;
    QorLong any;
    QorLong ext;
    int64_t big;
    struct {
        QorULong length;
        unsigned char *value;
    } huge;
    int level;
    char *code;
    char *digits;
    char *note;
    struct {
        QorULong count;
        unsigned char *value;
    } list;
} Gauges;

/* The value of the tests: note "Hi", level d, `ext` 8 outside its root,
 * `huge` 2^64 and a list of three. */
extern Gauges gaugesExample;

/* The Gauges entries, called by the schema's switch; the variant is
 * `world->perAligned`. */
void gaugesPerEncode(QorGlobal *world, const Gauges *value);
void *gaugesPerDecode(QorGlobal *world);
void gaugesFree(QorGlobal *world, Gauges *value);

/* Texts ::= SEQUENCE {
 *     bmp     BMPString (SIZE (1..4)),
 *     symbols UniversalString (FROM ("0".."9" | "a".."z" | "\u03B1\u03B2\u03C9" | "\u20AC")),
 *     label   UTF8String,    -- from 16-bit characters
 *     emoji   UTF8String,    -- from 32-bit characters
 *     code    PrintableString (SIZE (4)),
 *     name    VisibleString (SIZE (0..10)),
 *     note    IA5String,
 *     tag     GeneralString, comment GeneralString, fixed GeneralString,
 *     blob    GeneralString, line GeneralString, memo GeneralString }
 * A PDU with PER entries only, each string in another memory form: `code`
 * an array padded to its size, `name` a varying array, `note` and `memo`
 * behind a length header; `tag` zero-ended in an array of 8 + 1, `comment`
 * zero-ended in new memory, `fixed` an array of 6 padded with spaces,
 * `blob` a pointer and its length, `line` a varying array of 16. The
 * `symbols` alphabet is too wide for tables: it is an alphabet tree. */
typedef struct TextsRun {
    QorULong length;
    char value[1]; /* `length` characters in all */
} TextsRun;
#define TEXTS_RUN_HEADER 4 /* octets in front of `value` */

typedef struct Texts {
    struct {
        QorULong length;
        uint16_t *value;
    } bmp;
    struct {
        QorULong length;
        QorULong *value;
    } symbols;
    struct {
        QorULong length;
        uint16_t *value;
    } label;
    struct {
        QorULong length;
        QorULong *value;
    } emoji;
    char code[4];
    struct {
        QorULong count;
        char value[10];
    } name;
    TextsRun *note;
    unsigned char tag[9];
    unsigned char *comment;
    unsigned char fixed[6];
    struct {
        unsigned char *value; /* first: the decoder fills it through the record */
        QorULong length;
    } blob;
    struct {
        QorULong count;
        unsigned char value[16];
    } line;
    TextsRun *memo;
} Texts;

/* The value of the tests: a string in every field. */
extern Texts textsExample;

/* The Texts entries, called by the schema's switch. */
void textsPerEncode(QorGlobal *world, const Texts *value);
void *textsPerDecode(QorGlobal *world);
void textsFree(QorGlobal *world, Texts *value);
/* Bits ::= SEQUENCE {
 *     flags  BIT STRING (SIZE (0..16)),           -- the caller's array and a count
 *     fixed  BIT STRING (SIZE (20)),              -- an array of 3 octets
 *     named  BIT STRING { a(0), f(5) },           -- a count and new memory
 *     octets OCTET STRING (SIZE (1..8)),          -- the caller's array and a count
 *     blob   OCTET STRING,                        -- a count and new memory
 *     word   BIT STRING { w0(0), w31(31) } (SIZE (0..32)), -- in a 4-octet integer
 *     ... }
 * A PDU with PER entries only. Bits are left-justified: the first is the top
 * bit of the first octet; in `word` the integer's highest. Named bits go
 * without their trailing zeros, so `word` needs no count. Extension
 * additions of a later version are read past. */
typedef struct Bits {
    struct {
        unsigned short length;
        unsigned char value[2];
    } flags;
    unsigned char fixed[3];
    struct {
        QorULong length;
        unsigned char *value;
    } named;
    struct {
        unsigned short length;
        unsigned char value[8];
    } octets;
    struct {
        QorULong length;
        unsigned char *value;
    } blob;
    QorULong word;
} Bits;

/* The value of the tests: flags '101'B, fixed 'ABCDE'H, named {a, f},
 * octets '010203'H, blob "Hello", word {w0} and bit 9. */
extern Bits bitsExample;

/* The Bits entries, called by the schema's switch; the variant is
 * `world->perAligned`. */
void bitsPerEncode(QorGlobal *world, const Bits *value);
void *bitsPerDecode(QorGlobal *world);
void bitsFree(QorGlobal *world, Bits *value);

/* The PersonnelRecord entries of OER, for both modules (0 unconstrained,
 * 1 constrained). */
void personnelOerEncode(QorGlobal *world, const PersonnelRecord *value, int constrained);
void *personnelOerDecode(QorGlobal *world, int constrained);

/* Widths ::= SEQUENCE {
 *     u8      INTEGER (0..255),
 *     u16     INTEGER (0..65535),
 *     u32     INTEGER (0..4294967295),
 *     u64     INTEGER (0..18446744073709551615),
 *     s8      INTEGER (-128..127),
 *     s16     INTEGER (-32768..32767),
 *     s32     INTEGER (-2147483648..2147483647),
 *     s64     INTEGER (-9223372036854775808..9223372036854775807),
 *     span    INTEGER (-1000..60000),
 *     natural INTEGER (0..MAX),
 *     any     INTEGER,
 *     wide    INTEGER,          -- 64 bits in memory
 *     count   INTEGER (0..MAX), -- 64 bits in memory
 *     step    INTEGER (-10..10, ...), -- 16 bits in memory
 *     ext     INTEGER (0..7, ...),
 *     huge    INTEGER,          -- an octet array, two's complement
 *     total   INTEGER (0..MAX)  -- an octet array, unsigned
 * }
 * A PDU with OER entries only. A range's bounds pick the form: from a
 * lower bound of 0, an unsigned number of 1, 2, 4 or 8 octets; below it a
 * signed one; no upper bound or an extensible range, a length and octets.
 * A decoded `total` whose top bit is set has a 0x00 in front. */
typedef struct Widths {
    unsigned char u8;
    unsigned short u16;
    QorULong u32;
    uint64_t u64;
    signed char s8;
    short s16;
    QorLong s32;
    int64_t s64;
    QorLong span;
    QorULong natural;
    QorLong any;
    int64_t wide;
    uint64_t count;
    short step;
    QorLong ext;
    struct {
        QorULong length;
        unsigned char *value;
    } huge;
    struct {
        QorULong length;
        unsigned char *value;
    } total;
} Widths;

/* The value of the tests: every field at an edge of its form. */
extern Widths widthsExample;

/* Levels ::= SEQUENCE {
 *     size ENUMERATED { small(0), medium(1), large(127) },
 *     sign ENUMERATED { minus(-1), zero(0), thousand(1000), ... },
 *     wide ENUMERATED { none(0), top(4294967295) }  -- unsigned in memory
 * }
 * A PDU with OER entries only; `sign` takes any value, as later versions
 * may add some. */
typedef struct Levels {
    int size;
    QorLong sign;
    QorULong wide;
} Levels;

extern Levels levelsExample;

/* Extended ::= SEQUENCE { a INTEGER (0..255), ..., b BOOLEAN }
 * A PDU with OER entries only. Additions of a later version are read past. */
typedef struct Extended {
    unsigned char bit_mask;
#define Extended_b_present 0x80
    unsigned char a;
    char b;
} Extended;

extern Extended extendedExample; /* { a 5, b TRUE } */

/* Nothing ::= NULL: a PDU with OER entries only, encoded as no octets. */
typedef struct Nothing {
    char null;
} Nothing;

/* The entries of Widths, Levels, Extended and Nothing, called by the
 * schema's switch. */
void numbersOerEncode(QorGlobal *world, int pdunum, const void *value);
void *numbersOerDecode(QorGlobal *world, int pdunum);
void numbersFree(QorGlobal *world, int pdunum, void *value);

/* OerBits ::= SEQUENCE {
 *     byte   BIT STRING (SIZE(0..8)),   -- an integer, sent whole
 *     word   BIT STRING { a(0), b(1), c(2) } (SIZE(0..16)), -- an integer, sent whole
 *     block  BIT STRING (SIZE(0..20)),  -- an array of 3, sent whole
 *     named  BIT STRING { a(0), b(1), c(2) } (SIZE(0..8)), -- an array of 1
 *     fixed  BIT STRING (SIZE(12)),     -- no length on the wire
 *     any    BIT STRING,
 *     flags  BIT STRING { a(0), b(1), c(2) } (SIZE(0..24)), -- new memory
 *     mask   BIT STRING { a(0), b(1), c(2) } (SIZE(0..16)), -- an array and count
 *     tail   BIT STRING { a(0), b(1), c(2) } (SIZE(0..32)), -- a record behind a pointer
 *     raw    BIT STRING (SIZE(0..32)) } -- its length read by the caller
 * Named bits go without their trailing zeros. */
typedef struct OerBitRecord {
    QorULong count;
    unsigned char value[4];
} OerBitRecord;

typedef struct OerBitArray {
    QorULong count;
    unsigned char value[4];
} OerBitArray;

typedef struct OerBits {
    unsigned char byte;
    unsigned short word;
    unsigned char block[3];
    unsigned char named[1];
    unsigned char fixed[2];
    struct {
        QorULong count;
        unsigned char *value;
    } any, flags;
    OerBitArray mask;
    OerBitRecord *tail;
    OerBitArray raw;
} OerBits;

/* OerTexts ::= SEQUENCE {
 *     code  PrintableString (SIZE(1..5)), -- an array padded with spaces
 *     tag   IA5String (SIZE(3)),
 *     note  IA5String,
 *     bmp   BMPString,
 *     uni   UniversalString,
 *     pair  BMPString (SIZE(2)),
 *     quad  UniversalString (SIZE(2)),
 *     utf16 UTF8String,                   -- 16-bit characters in memory
 *     utf32 UTF8String }                  -- 32-bit characters */
typedef struct OerTexts {
    char code[5];
    char tag[3];
    struct {
        QorULong length;
        unsigned char *value;
    } note;
    struct {
        QorULong count;
        uint16_t *value;
    } bmp, utf16;
    struct {
        QorULong count;
        QorULong *value;
    } uni, utf32;
    uint16_t pair[2];
    QorULong quad[2];
} OerTexts;

/* OerLeaves ::= SEQUENCE {
 *     id       OBJECT IDENTIFIER, -- an array of 8 and a count
 *     shortId  OBJECT IDENTIFIER, -- 16-bit arcs in a record behind a pointer
 *     path     OBJECT IDENTIFIER, -- a linked list
 *     shortPath OBJECT IDENTIFIER, -- a linked list of 16-bit arcs, 16 at most
 *     wide     OBJECT IDENTIFIER, -- an allocated array
 *     relative RELATIVE-OID,      -- the contents octets
 *     ratio    REAL, small REAL,  -- a double, a float
 *     text     REAL,              -- decimal text
 *     mixed    REAL,              -- a double or a text
 *     when     GeneralizedTime, day UTCTime,
 *     date     DATE, clock TIME-OF-DAY, stamp DATE-TIME, span DURATION,
 *     moment   TIME }             -- the TIME types as text */
typedef struct OerShortOid {
    uint16_t count;
    uint16_t value[1]; /* as many as `count` */
} OerShortOid;

typedef struct OerLeaves {
    struct {
        uint16_t count;
        QorULong value[8];
    } id;
    OerShortOid *shortId;
    QorObjidNode *path;
    QorObjidNodeShort *shortPath;
    struct {
        uint16_t count;
        QorULong *value;
    } wide;
    struct {
        QorLong length;
        unsigned char *value;
    } relative;
    double ratio;
    float small;
    const char *text;
    QorMixedReal mixed;
    GeneralizedTime when;
    GeneralizedTime day;
    const char *date, *clock, *stamp, *span, *moment;
} OerLeaves;

extern OerBits oerBitsExample;
extern OerTexts oerTextsExample;
extern OerLeaves oerLeavesExample;

/* The entries of OerBits, OerTexts and OerLeaves, called by the schema's
 * switch. */
void leavesOerEncode(QorGlobal *world, int pdunum, const void *value);
void *leavesOerDecode(QorGlobal *world, int pdunum);
void leavesOerFree(QorGlobal *world, int pdunum, void *value);

/* Envelope ::= [APPLICATION 3] IMPLICIT SEQUENCE { kind [0] INTEGER,
 *     content [1] OPEN TYPE }  -- content: any PDU of this module.
 * With AUTOMATIC_ENCDEC, `content.decoded` is encoded on a nested context,
 * and decoding fills it in. */
typedef struct Envelope {
    QorLong kind;
    QorOpenType content;
} Envelope;

/* Chain ::= [APPLICATION 4] IMPLICIT SEQUENCE {
 *     value [0] INTEGER, next [1] Chain OPTIONAL }
 * `next` is null when absent. Its encoder and decoder count the nesting
 * against the context's limit on nested SEQUENCEs. */
typedef struct Chain {
    struct Chain *next;
    QorLong value;
} Chain;

/* How the Fault encoder leaves. */
enum FaultRaiser {
    RAISE_LONG,      /* _qor_enc_error with `number` */
    RAISE_LONGLONG,  /* _qor_enc_llerror with `number` and `high` */
    RAISE_STRING,    /* _qor_krod_error with `text` */
    RAISE_REAL,      /* _qor_krod_real_error with `real` */
    RAISE_UNBOUNDED, /* _qor_unbnd_error with `text`, `textLength` */
    RAISE_SEGV,      /* a memory violation */
    RAISE_IN_CHECK,  /* _qor_enc_error while the operation is a constraint check */
    RAISE_NESTED     /* _qor_enc_error on a nested context */
};

/* Fault ::= SEQUENCE { items SEQUENCE OF Item } ; Item ::= SEQUENCE { x INTEGER }
 * Encoding a Fault writes `written` octets, enters items[`element`].x and
 * raises `message` there with the value of `raiser`. Decoding one takes
 * memory and then reports "Value misencoded". */
typedef struct Fault {
    int message;
    int raiser;
    QorLong number;
    QorLong high;
    double real;
    const char *text;
    QorLong textLength;
    QorLong element;
    QorLong written;
} Fault;

/* The permitted alphabets that the PER entries and the constraint entry
 * share: NameString's, Date's, and Gauges' `code` and `digits`. */
extern const QorPermittedAlphabet nameAlphabet, digitAlphabet, upperAlphabet, numericAlphabet;

/* The constraint entry: the constraints of each PDU above that has any. */
int testSchemaConstraints(QorGlobal *world, int pdunum, void *value);

/* Lexems: the EXER entry walks any document and gives a Raw of one line a
 * lexem (lexems_exer.c says their form); Probes reads the root's content
 * with the calls of the value decoders. `lexemsExerInfo` is the EXER
 * information record: its namespace rows are the control namespace, the
 * example URI "urn:example:a" and the XML namespace. */
int lexemsExerDecode(void *env, int *pdunum, void **output);
extern const QorExerInfo lexemsExerInfo;

/* Each PDU's type reference and the name of its type, for messages. */
extern const char *const testSchemaPduNames[PDU_COUNT][2];

extern QorControlTable testSchemaTable;
extern QorXapiEntries testSchemaXapi;

#ifdef __cplusplus
}
#endif

#endif
