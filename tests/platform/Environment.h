// Variables of this process's environment, for tests that must not touch what belongs to the user.
#pragma once

void SetVariable(const char* name, const char* value);
