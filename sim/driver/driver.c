/*
 * The simulated AMDRyzenMasterDriver.sys: a device that can be opened and closed, nothing more. It
 * does no I/O and touches no hardware.
 */
#include <ddk/wdm.h>

/* Not const-qualified inside UNICODE_STRING, so the texts live in arrays of their own. */
static WCHAR s_deviceName[] = L"\\Device\\AMDRyzenMasterDriverV15";
static WCHAR s_linkName[] = L"\\DosDevices\\AMDRyzenMasterDriverV15";

static UNICODE_STRING TextOf(WCHAR* characters, SIZE_T bytes) {
    UNICODE_STRING text;
    text.Buffer = characters;
    text.Length = (USHORT)(bytes - sizeof(WCHAR));
    text.MaximumLength = (USHORT)bytes;
    return text;
}

static NTSTATUS NTAPI OnRequest(DEVICE_OBJECT* device, IRP* request) {
    (void)device;
    request->IoStatus.Status = STATUS_SUCCESS;
    request->IoStatus.Information = 0;
    IoCompleteRequest(request, IO_NO_INCREMENT);
    return STATUS_SUCCESS;
}

static VOID NTAPI OnUnload(DRIVER_OBJECT* driver) {
    UNICODE_STRING link = TextOf(s_linkName, sizeof(s_linkName));
    IoDeleteSymbolicLink(&link);
    IoDeleteDevice(driver->DeviceObject);
}

NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* registryPath) {
    UNICODE_STRING name = TextOf(s_deviceName, sizeof(s_deviceName));
    UNICODE_STRING link = TextOf(s_linkName, sizeof(s_linkName));
    DEVICE_OBJECT* device = NULL;
    NTSTATUS status;

    (void)registryPath;
    status = IoCreateDevice(driver, 0, &name, FILE_DEVICE_UNKNOWN, 0, FALSE, &device);
    if (!NT_SUCCESS(status)) {
        return status;
    }
    status = IoCreateSymbolicLink(&link, &name);
    if (!NT_SUCCESS(status)) {
        IoDeleteDevice(device);
        return status;
    }
    driver->MajorFunction[IRP_MJ_CREATE] = OnRequest;
    driver->MajorFunction[IRP_MJ_CLOSE] = OnRequest;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = OnRequest;
    driver->DriverUnload = OnUnload;
    return STATUS_SUCCESS;
}
