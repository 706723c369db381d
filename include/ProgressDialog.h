// What long operations of the library tell a person, and how an application shows it.
//
// The library itself shows nothing. An application that wants to derives its own display from CProgressDialog and has
// c_pCreate make one for each operation. Calls for one operation come from the thread that the operation was started
// on; operations on several threads have a display each. Progress is in percent.
#pragma once

#include "NVExport.h"

#include <functional>
#include <memory>

class NVLIB_API CProgressDialog {
public:
    /// Makes the display of one operation, which ends with the object. Empty, or giving null: nothing is shown. Set
    /// before an operation begins; may be called on any thread that one runs on.
    static std::function<std::unique_ptr<CProgressDialog>()> c_pCreate;
    /// What `c_pCreate` makes, or one that shows nothing. Never null.
    static std::unique_ptr<CProgressDialog> Make();

    CProgressDialog() = default;
    virtual ~CProgressDialog();
    CProgressDialog(const CProgressDialog&) = delete;
    CProgressDialog& operator=(const CProgressDialog&) = delete;

    /// The operation begins; `status` says what it does.
    virtual void Open(const char* status);
    /// 0 to 100, growing; several hundred times for a long file.
    virtual void SetProgress(double percent);
    /// True asks the operation to stop. Asked after each SetProgress.
    virtual bool IsCancelled();
};
