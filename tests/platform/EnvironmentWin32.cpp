// Environment.h for Win32.
#include "Environment.h"

#include <windows.h>

void SetVariable(const char* name, const char* value)
{
    SetEnvironmentVariableA(name, value);
}
