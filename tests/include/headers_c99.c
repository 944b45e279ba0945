/* The public headers compile as plain C99, pedantic, warning-free. */
#include "qorapi.h"
#include "qorcontrol.h"
#include "qorprim.h"

int qorHeadersCompileAsC99(void) { return (int)sizeof(QorGlobal) > 0; }
