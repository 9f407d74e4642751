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

int idAt(const ExtPtrArrayRc& arr, int i) {
    return static_cast<Counted*>(arr.elementAt(i))->id();
}

} // namespace

// Each object the array holds is released exactly once: on replace, on
// remove and at destruction; an extra reference outlives the array.
TEST(ExtPtrArrayRc, ReleasesEachObjectOnce) {
    std::map<int, int> deaths;
    auto* kept = new Counted(7, deaths);
    {
        ExtPtrArrayRc arr;
        for (int i = 0; i < 3; ++i)
            arr.appendRefCounted(new Counted(i, deaths));
        arr.replaceRefCountedAt(5, new Counted(5, deaths)); // leaves null slots 3 and 4
        EXPECT_EQ(arr.getSize(), 6);
        EXPECT_EQ(arr.elementAt(4), nullptr);
        arr.replaceRefCountedAt(0, new Counted(10, deaths));
        EXPECT_EQ(deaths, (std::map<int, int>{{0, 1}}));
        EXPECT_EQ(idAt(arr, 0), 10);
        arr.replaceRefCountedAt(-1, nullptr); // ignored
        arr.removeRefCountedAt(1);
        arr.removeRefCountedAt(9); // out of range: nothing happens
        ASSERT_EQ(arr.getSize(), 5);
        EXPECT_EQ(idAt(arr, 1), 2);
        EXPECT_EQ(arr.elementAt(5), nullptr);
        EXPECT_EQ(arr.elementAt(-1), nullptr);
        arr.appendRefCounted(kept);
        kept->incRefCount();
    }
    EXPECT_EQ(deaths, (std::map<int, int>{{0, 1}, {1, 1}, {2, 1}, {5, 1}, {10, 1}}));
    EXPECT_EQ(kept->getRefCount(), 1);
    kept->decRefCount();
    EXPECT_EQ(deaths[7], 1);
}
