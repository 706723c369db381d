#pragma once

/// The answer of somebody who wants the work done.
inline bool NotCancelled()
{
    return false;
}
