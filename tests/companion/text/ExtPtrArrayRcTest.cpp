#include "companion/text/ExtPtrArray.h"
#include "companion/text/RefCountedObject.h"

#include <gtest/gtest.h>

#include <map>

namespace {

// Records how many times each object is destroyed.
class Counted : public RefCountedObject {
public:
    Counted(int id, std::map<int, int>& deaths) : m_id(id), m_deaths(deaths) {}
    int id() const { return m_id; }

protected:
    ~Counted() override { ++m_deaths[m_id]; }

private:
    int m_id;
    std::map<int, int>& m_deaths;
};

} // namespace

TEST(ExtPtrArrayRc, DestructionReleasesEachObjectOnce) {
    std::map<int, int> deaths;
    {
        ExtPtrArrayRc arr;
        for (int i = 0; i < 3; ++i)
            arr.appendRefCounted(new Counted(i, deaths));
        arr.replaceRefCountedAt(5, new Counted(5, deaths)); // leaves null slots 3 and 4
        EXPECT_EQ(arr.getSize(), 6);
        EXPECT_EQ(arr.elementAt(4), nullptr);
        EXPECT_TRUE(deaths.empty());
    }
    EXPECT_EQ(deaths, (std::map<int, int>{{0, 1}, {1, 1}, {2, 1}, {5, 1}}));
}

TEST(ExtPtrArrayRc, AnExtraReferenceOutlivesTheArray) {
    std::map<int, int> deaths;
    auto* obj = new Counted(7, deaths);
    {
        ExtPtrArrayRc arr;
        arr.appendRefCounted(obj);
        obj->incRefCount();
        arr.removeAllObjects();
        EXPECT_EQ(arr.getSize(), 0);
        EXPECT_EQ(obj->getRefCount(), 1);
    }
    EXPECT_TRUE(deaths.empty());
    obj->decRefCount();
    EXPECT_EQ(deaths[7], 1);
}

TEST(ExtPtrArrayRc, ReplaceReleasesTheOldObjectOnly) {
    std::map<int, int> deaths;
    ExtPtrArrayRc arr;
    arr.appendRefCounted(new Counted(1, deaths));
    arr.replaceRefCountedAt(0, new Counted(2, deaths));
    EXPECT_EQ(deaths, (std::map<int, int>{{1, 1}}));
    EXPECT_EQ(static_cast<Counted*>(arr.elementAt(0))->id(), 2);
    arr.replaceRefCountedAt(-1, nullptr); // ignored
    EXPECT_EQ(arr.getSize(), 1);
}

TEST(ExtPtrArrayRc, RemoveAtClosesTheGap) {
    std::map<int, int> deaths;
    ExtPtrArrayRc arr;
    for (int i = 0; i < 3; ++i)
        arr.appendRefCounted(new Counted(i, deaths));
    arr.removeRefCountedAt(1);
    arr.removeRefCountedAt(3); // out of range: nothing happens
    ASSERT_EQ(arr.getSize(), 2);
    EXPECT_EQ(static_cast<Counted*>(arr.elementAt(1))->id(), 2);
    EXPECT_EQ(deaths, (std::map<int, int>{{1, 1}}));
    EXPECT_EQ(arr.elementAt(2), nullptr);
    EXPECT_EQ(arr.elementAt(-1), nullptr);
}
