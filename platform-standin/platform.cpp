// A Platform.dll for machines that have none of AMD's: it never starts and knows no device.
#include "src/amdsdk/platform.h"

namespace {

class CNoDevices final : public IDeviceManager {
  public:
    void Unused0() override {}
    void Unused1() override {}
    void Unused2() override {}
    IDevice* GetDevice(int32_t /*type*/, int32_t /*index*/) override { return nullptr; }
};

class CNoPlatform final : public IPlatform {
  public:
    bool Init(void* /*first*/, void* /*second*/) override { return false; }
    void UnInit() override {}
    IDeviceManager& GetDeviceManager() override { return m_devices; }

  private:
    CNoDevices m_devices;
};

constinit CNoPlatform s_platform;

}  // namespace

IPlatform& GetPlatform() { return s_platform; }

// Tells this library from AMD's.
// NOLINTNEXTLINE(readability-identifier-naming): it is named as an export.
extern "C" const char ZorvanePlatformStandIn = 1;
