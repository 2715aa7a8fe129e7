#include "src/izorvanetask.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "tests/support/fakeprocess.h"

namespace {

class CRecordingTask final : public IZorvaneTask {
  public:
    int Init() override { return 10; }
    int IsSupported() override { return 11; }
    int Execute(std::shared_ptr<IProcess> process) override {
        references = process.use_count();
        return 12;
    }
    void Uninit() override { isReleased = true; }

    long references = 0;
    bool isReleased = false;
};

template <typename Function>
Function* SlotOf(IZorvaneTask& task, size_t slot) {
    void* const* slots = *reinterpret_cast<void* const* const*>(&task);
    return reinterpret_cast<Function*>(slots[slot]);
}

}  // namespace

TEST(ZorvaneTask, HasItsOperationsInTheSlotsOfTheInterface) {
    CRecordingTask task;
    EXPECT_EQ(SlotOf<int(IZorvaneTask*)>(task, 0)(&task), 10);
    EXPECT_EQ(SlotOf<int(IZorvaneTask*)>(task, 1)(&task), 11);
    const std::shared_ptr<IProcess> process = std::make_shared<CFakeProcess>();
    EXPECT_EQ(SlotOf<int(IZorvaneTask*, std::shared_ptr<IProcess>)>(task, 2)(&task, process), 12);
    EXPECT_EQ(task.references, 2);
    SlotOf<void(IZorvaneTask*)>(task, 3)(&task);
    EXPECT_TRUE(task.isReleased);
}

TEST(ZorvaneTask, HasNoVirtualDestructor) {
    EXPECT_FALSE(std::has_virtual_destructor_v<IZorvaneTask>);
}
