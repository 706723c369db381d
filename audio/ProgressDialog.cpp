// CProgressDialog: see ProgressDialog.h. The library's own shows nothing.
#include "ProgressDialog.h"

std::function<std::unique_ptr<CProgressDialog>()> CProgressDialog::c_pCreate;

std::unique_ptr<CProgressDialog> CProgressDialog::Make()
{
    if (c_pCreate) {
        if (std::unique_ptr<CProgressDialog> made = c_pCreate())
            return made;
    }
    return std::make_unique<CProgressDialog>();
}

CProgressDialog::~CProgressDialog() = default;

void CProgressDialog::Open(const char*) {}

void CProgressDialog::SetProgress(double) {}

bool CProgressDialog::IsCancelled()
{
    return false;
}
