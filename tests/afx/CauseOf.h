// What a file operation throws, as a number that a test can compare.
#pragma once

#include <afx.h>

/// The cause that `action` throws, or CFileException::none when it throws nothing.
template <class Action>
int CauseOf(Action action)
{
    try {
        action();
        return CFileException::none;
    } catch (CFileException* e) {
        const int cause = e->m_cause;
        e->Delete();
        return cause;
    }
}
