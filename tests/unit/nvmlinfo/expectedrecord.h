/** The expected bytes of a GPU record. */
#pragma once

#include <cstdint>
#include <string>

#include "tests/support/fakenvml.h"
#include "tests/support/fakeprocess.h"

/** A record built from offsets, independently of the wire header. */
class CExpectedRecord {
  public:
    /** Zero but for the kind, the GPU's place and a fan speed that is not known. */
    CExpectedRecord(uint32_t kind, uint32_t index, uint32_t count);

    /** The record of `kind` that a healthy library gives for `gpu`. */
    static CExpectedRecord Of(uint32_t kind, uint32_t index, uint32_t count, const FakeGpu& gpu,
                              const std::string& driverVersion);

    CExpectedRecord& Put32(size_t offset, uint32_t value);
    CExpectedRecord& Put64(size_t offset, uint64_t value);
    /** 8-bit characters at `offset`. */
    CExpectedRecord& PutText(size_t offset, const std::string& text);
    /** The same characters, two bytes each. */
    CExpectedRecord& PutWide(size_t offset, const std::string& text);

    const std::string& Bytes() const { return m_bytes; }

  private:
    std::string m_bytes;
};

/** "same", or where the payload of `message` differs from the record first. */
std::string Difference(const CFakeProcess::Message& message, const CExpectedRecord& record);

/** The characters of a 32-character text field, up to the first NUL. */
std::wstring WideField(const CFakeProcess::Message& message, size_t offset);

uint32_t Number(const CFakeProcess::Message& message, size_t offset);

/** Each message as "kind/index", in order: "1/0 1/1 2/0". */
std::string KindsAndIndices(const CFakeProcess& process);
