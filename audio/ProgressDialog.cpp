// CProgressDialog: see ProgressDialog.h. The library's own shows nothing.
#include "ProgressDialog.h"

std::function<std::unique_ptr<CProgressDialog>()> CProgressDialog::c_pCreate;

std::unique_ptr<CProgressDialog> CProgressDialog::Make()
{
    std::unique_ptr<CProgressDialog> made = c_pCreate ? c_pCreate() : nullptr;
    return made ? std::move(made) : std::make_unique<CProgressDialog>();
}

CProgressDialog::~CProgressDialog() = default;

void CProgressDialog::Open(const char*) {}

void CProgressDialog::SetProgress(double) {}

bool CProgressDialog::IsCancelled()
{
    return false;
}
