// Run-time class information, creation by name, and exceptions thrown by pointer.
#include <afx.h>
#include <afxwin.h>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>

namespace {

class CAnimal : public CObject {
    DECLARE_DYNAMIC(CAnimal)
public:
    CAnimal() = default;
    virtual int Legs() const { return 4; }
};

class CBird : public CAnimal {
    DECLARE_DYNCREATE(CBird)
public:
    int Legs() const override { return 2; }
    double wingspan = 0.3;
};

IMPLEMENT_DYNAMIC(CAnimal, CObject)
IMPLEMENT_DYNCREATE(CBird, CAnimal)

} // namespace

TEST(Object, IsCreatedByTheNameOfItsClass)
{
    CRuntimeClass* const bird = CRuntimeClass::FromName("CBird");
    ASSERT_EQ(bird, RUNTIME_CLASS(CBird));
    EXPECT_EQ(bird->m_nObjectSize, int(sizeof(CBird)));
    const std::unique_ptr<CObject> object(bird->CreateObject());
    ASSERT_TRUE(object);
    EXPECT_EQ(object->GetRuntimeClass(), bird);
    EXPECT_EQ(dynamic_cast<CBird&>(*object).Legs(), 2);
    EXPECT_TRUE(object->IsKindOf(RUNTIME_CLASS(CBird)));
    EXPECT_TRUE(object->IsKindOf(RUNTIME_CLASS(CAnimal)));
    EXPECT_TRUE(object->IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_FALSE(object->IsKindOf(RUNTIME_CLASS(CFile)));
    EXPECT_FALSE(CAnimal().IsKindOf(RUNTIME_CLASS(CBird)));

    EXPECT_EQ(RUNTIME_CLASS(CAnimal)->CreateObject(), nullptr) << "not declared creatable";
    EXPECT_EQ(CRuntimeClass::FromName("CDodo"), nullptr);
    EXPECT_EQ(CRuntimeClass::FromName(nullptr), nullptr);
    for (const char* name : {"CObject", "CFile", "CMemFile", "CFileException", "CMemoryException"}) {
        const CRuntimeClass* const found = CRuntimeClass::FromName(name);
        ASSERT_TRUE(found) << name;
        EXPECT_STREQ(found->m_lpszClassName, name);
    }
}

TEST(Exception, IsCaughtByItsBaseAndTellsAUserWhatHappened)
{
    char text[100];
    try {
        AfxThrowFileException(CFileException::diskFull, 28, "song.wav");
    } catch (CException* e) {
        EXPECT_TRUE(e->IsKindOf(RUNTIME_CLASS(CFileException)));
        EXPECT_TRUE(e->GetErrorMessage(text, sizeof text));
        EXPECT_STREQ(text, "song.wav: the disk is full");
        char small[9] = "xxxxxxxx";
        EXPECT_TRUE(e->GetErrorMessage(small, 8));
        EXPECT_STREQ(small, "song.wa") << "cut, with its closing zero";
        EXPECT_FALSE(e->GetErrorMessage(text, 0));
        e->Delete();
    }
    for (int i = 0; i < 2; ++i) { // the one memory exception outlives its Delete()
        try {
            AfxThrowMemoryException();
        } catch (CException* e) {
            EXPECT_TRUE(e->GetErrorMessage(text, sizeof text));
            e->Delete();
        }
    }
    EXPECT_TRUE(CFileException(999).GetErrorMessage(text, sizeof text)) << "a cause out of the list";
    EXPECT_FALSE(CException().GetErrorMessage(text, sizeof text));
    EXPECT_STREQ(text, "");
}
