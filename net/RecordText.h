// The text of a record: see RecordText.cpp. Any thread.
#pragma once

#include "CDDBTypes.h"

namespace NV {

/// Lines end with "\r\n"; long values take several lines of their key. The client named in it is the given one, with
/// the record's comment.
CString RecordText(const CCDDBRecord& record, const CString& productName, const CString& productVersion);

} // namespace NV
