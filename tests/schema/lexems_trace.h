/* The pieces of the Lexems trace (lexems_exer.c) that its other readers
 * (words, skips, contained documents) share. */
#ifndef LEXEMS_TRACE_H
#define LEXEMS_TRACE_H

#include "testschema.h"

enum { MAX_SEEN = 16 };

/* The head of the library's attribute record, as generated code reads it. */
typedef struct AttrHead {
    struct AttrHead *next;
    const unsigned char *name;
    uint32_t name_len;
    uint32_t pos;
    int32_t colon;
    const char *ns_uri;
} AttrHead;

typedef struct Trace {
    QorGlobal *world;
    unsigned char *chunk;
    QorLong used;
    QorLong total;
    const char *seen[MAX_SEEN];
    int seenCount;
} Trace;

void tracePut(Trace *t, const void *bytes, QorLong n);
void traceText(Trace *t, const char *text);
void traceUri(Trace *t, const char *uri);
void traceTag(Trace *t, const QorXmlTag *tag);
void traceLexem(Trace *t, const QorXmlEnv *env);
/* The element whose start tag is the lexem: its lines, up to and including
 * its close. */
void traceElement(Trace *t, QorXmlEnv *env);
/* The open element, if its local name begins with "word" (lexems_words.c):
 * 1 when it was traced. */
int traceWords(Trace *t, QorXmlEnv *env);
/* Elements that are skipped or hold a contained document (lexems_skip.c):
 * 1 when the open element was one of those, its end tag now the lexem. */
int walkSkipped(Trace *t, QorXmlEnv *env);

#endif
