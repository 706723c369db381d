// See SecondSource.h.
#include "SecondSource.h"

namespace NV {

std::unique_ptr<CSoundFile> OpenSecondSource(const CSoundFile& sound)
{
    const CString name = sound.GetName();
    std::unique_ptr<CObject> object(name.IsEmpty() ? nullptr : sound.GetRuntimeClass()->CreateObject());
    if (!object || !object->IsKindOf(RUNTIME_CLASS(CSoundFile)))
        return nullptr;
    std::unique_ptr<CSoundFile> second(static_cast<CSoundFile*>(object.release()));
    if (!second->Open(name, CFile::modeRead | CFile::shareDenyNone) || !second->CanRead() || !second->CanSeek())
        return nullptr;
    const WAVEFORMATEX &ours = second->GetFormat(), &theirs = sound.GetFormat();
    const bool same = ours.nChannels == theirs.nChannels && ours.wBitsPerSample == theirs.wBitsPerSample &&
                      ours.nBlockAlign == theirs.nBlockAlign && second->GetLength() == sound.GetLength();
    return same ? std::move(second) : nullptr;
}

} // namespace NV
