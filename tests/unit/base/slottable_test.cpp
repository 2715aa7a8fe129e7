#include "base/slottable.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace zorvane {
namespace {

// An interface as its users declare it.
class IAdder {
  public:
    virtual void First() = 0;
    virtual int Add(int number) = 0;
    virtual bool IsAny() = 0;

  protected:
    ~IAdder() = default;
};

struct Adder {
    SlotObject object;
    int sum;
};

void ThrowNumber(size_t number) { throw std::out_of_range(std::to_string(number)); }

int Add(Adder* self, int number) { return self->sum + number; }
uint64_t No(SlotObject*) { return BoolInRegister(false); }

IAdder& As(Adder& adder) {
    void* address = &adder;
    return *static_cast<IAdder*>(address);
}

TEST(SlotTableTest, MakesAnObjectThatItsUsersCall) {
    const CSlotTable<3, &ThrowNumber> slots{{1, &Add}, {2, &No}};
    Adder adder{{slots.Slots()}, 40};
    EXPECT_EQ(As(adder).Add(2), 42);
    EXPECT_FALSE(As(adder).IsAny());
}

TEST(SlotTableTest, TellsTheNumberOfASlotThatIsNotFilled) {
    CSlotTable<3, &ThrowNumber> slots{{1, &Add}};
    Adder adder{{slots.Slots()}, 0};
    try {
        As(adder).IsAny();
        FAIL();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "2");
    }
    slots.Set(2, &No);
    EXPECT_FALSE(As(adder).IsAny());
}

TEST(SlotTableTest, HasNoSlotBeyondItsEnd) {
    CSlotTable<3, &ThrowNumber> slots;
    EXPECT_THROW(slots.Set(3, &No), std::out_of_range);
}

TEST(InRegisterTest, HasAllBitsAboveTheResultSet) {
    EXPECT_EQ(BoolInRegister(false), 0xFFFFFFFFFFFFFF00u);
    EXPECT_EQ(BoolInRegister(true), 0xFFFFFFFFFFFFFF01u);
    EXPECT_EQ(NumberInRegister(0), 0xFFFFFFFF00000000u);
    EXPECT_EQ(NumberInRegister(4), 0xFFFFFFFF00000004u);
    EXPECT_EQ(NumberInRegister(-1), 0xFFFFFFFFFFFFFFFFu);
}

}  // namespace
}  // namespace zorvane
