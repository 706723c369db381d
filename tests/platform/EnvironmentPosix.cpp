// Environment.h for POSIX.
#include "Environment.h"

#include <stdlib.h>

void SetVariable(const char* name, const char* value)
{
    setenv(name, value, 1);
}
