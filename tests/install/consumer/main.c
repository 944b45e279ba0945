/* A program built against the installed library. */
#include <stdio.h>
#include <string.h>

#include "qorapi.h"

int main(void)
{
    QorGlobal world;
    /* No control table: the context is refused with 20, and says why. */
    int rc = qorinit(&world, NULL);
    const char *text = qorDescribeReturnCode(NULL, rc);
    if (rc != QOR_NULL_TABLE || text == NULL || strstr(text, "NULL") == NULL)
        return 1;
    printf("consumer: %d %s\n", rc, text);
    return 0;
}
