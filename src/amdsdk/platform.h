/**
 * The binary interface of AMD's monitoring library Platform.dll, as far as it is used here.
 *
 * The library is closed and built by another compiler; what both sides share is the layout of a
 * virtual table: an array of function pointers that the object's first word points at. The classes
 * therefore declare operations only, no destructor among them, each at the slot where the library
 * has it, and pass scalars and pointers only. A slot that is not used here is a placeholder and
 * must not be called. The library owns all of its objects; nothing is ever deleted through them.
 */
#pragma once

#include <cstddef>
#include <cstdint>

// Placeholders for slots whose signatures are not needed.
#define ZORVANE_SLOT(n) virtual void Unused##n() = 0
#define ZORVANE_SLOTS_10(tens) \
    ZORVANE_SLOT(tens##0);     \
    ZORVANE_SLOT(tens##1);     \
    ZORVANE_SLOT(tens##2);     \
    ZORVANE_SLOT(tens##3);     \
    ZORVANE_SLOT(tens##4);     \
    ZORVANE_SLOT(tens##5);     \
    ZORVANE_SLOT(tens##6);     \
    ZORVANE_SLOT(tens##7);     \
    ZORVANE_SLOT(tens##8);     \
    ZORVANE_SLOT(tens##9)

/** Device types of IDeviceManager::GetDevice. */
inline constexpr int32_t kDeviceTypeCpu = 0;
/** The second device, which may know a temperature offset. */
inline constexpr int32_t kDeviceTypeOffset = 1;

/** The library's PM table; it fills 176 bytes, of which one field is used here. */
struct PMTableData {
    unsigned char unused0[144];
    /** Current temperature in degrees Celsius. */
    double currentTemperature;
    unsigned char unused1[24];
};
static_assert(sizeof(PMTableData) == 176);
static_assert(offsetof(PMTableData, currentTemperature) == 144);

/** One device. Statuses are 32 bits wide, 0 is success. */
class IDevice {
  public:
    ZORVANE_SLOT(0);
    ZORVANE_SLOT(1);
    /** Slot 2: the device's name, NUL-terminated, owned by the library. */
    virtual const wchar_t* GetName() = 0;
    ZORVANE_SLOT(3);
    ZORVANE_SLOT(4);
    ZORVANE_SLOT(5);
    ZORVANE_SLOT(6);
    ZORVANE_SLOT(7);
    ZORVANE_SLOT(8);
    ZORVANE_SLOT(9);
    ZORVANE_SLOTS_10(1);
    ZORVANE_SLOT(20);
    ZORVANE_SLOT(21);
    ZORVANE_SLOT(22);
    ZORVANE_SLOT(23);
    ZORVANE_SLOT(24);
    ZORVANE_SLOT(25);
    ZORVANE_SLOT(26);
    /** Slot 27: what to subtract from the CPU's temperature, in degrees Celsius. */
    virtual int32_t GetTemperatureOffset(int32_t* offset) = 0;
    ZORVANE_SLOT(28);
    ZORVANE_SLOT(29);
    ZORVANE_SLOTS_10(3);
    ZORVANE_SLOT(40);
    ZORVANE_SLOT(41);
    /** Slot 42: the CPU's temperature in degrees Celsius, offset not subtracted. */
    virtual int32_t GetCurrentTemperature(double* temperature) = 0;
    ZORVANE_SLOT(43);
    ZORVANE_SLOT(44);
    ZORVANE_SLOT(45);
    ZORVANE_SLOT(46);
    ZORVANE_SLOT(47);
    ZORVANE_SLOT(48);
    ZORVANE_SLOT(49);
    ZORVANE_SLOTS_10(5);
    ZORVANE_SLOTS_10(6);
    ZORVANE_SLOT(70);
    ZORVANE_SLOT(71);
    ZORVANE_SLOT(72);
    /** Slot 73: fills the caller's record. */
    virtual int32_t GetPMTableData(PMTableData* data) = 0;

  protected:
    ~IDevice() = default;
};

/** The devices of this machine. */
class IDeviceManager {
  public:
    ZORVANE_SLOT(0);
    ZORVANE_SLOT(1);
    ZORVANE_SLOT(2);
    /** Slot 3: a device, or null when there is none of that type and index. */
    virtual IDevice* GetDevice(int32_t type, int32_t index) = 0;

  protected:
    ~IDeviceManager() = default;
};

/** The library itself. */
class IPlatform {
  public:
    /** Slot 0: starts the library; both arguments are null here. The bool is one byte wide. */
    virtual bool Init(void* first, void* second) = 0;
    /** Slot 1: shuts the library down, also one that never started. */
    virtual void UnInit() = 0;
    /** Slot 2 */
    virtual IDeviceManager& GetDeviceManager() = 0;

  protected:
    ~IPlatform() = default;
};

#undef ZORVANE_SLOTS_10
#undef ZORVANE_SLOT

/** The library's one object, exported as ?GetPlatform@@YAAEAVIPlatform@@XZ. */
IPlatform& GetPlatform();
