/**
 * What each line of the worker's log means to its reader. Plain data: the log reader, zorvanemon
 * and docs/support.md all take it from here, and a test holds it against the log sites of src/.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace zorvane {

/** What a line is about. The driver serves the CPU temperature only. */
enum class Concern { kCpu, kGpu, kDriver, kWorker, kLog };

/** What a line says about the readings. */
enum class ReasonKind {
    /** Part of a healthy run. */
    kHealthy,
    /** Part of a healthy run, and proof that readings arrive: earlier causes did not matter. */
    kReading,
    /** Worth knowing; no reading is missing because of it. */
    kInformational,
    /** A reading is missing; why is said by another line. */
    kConsequence,
    /** Why a reading is missing, unless the same run has a kCause. */
    kLikelyCause,
    /** Why a reading is missing. The first one of a run counts. */
    kCause,
};

/** What the last number in a line is. */
enum class CodeKind {
    kNone,
    /** A Windows error code. */
    kWindows,
    /** An NVML return code. */
    kNvml,
    /** A state of a Windows service. */
    kServiceState,
    /** An errno value of the C library. */
    kErrno,
    /** A number that has a meaning for this line only, see SpecialCase. */
    kValue,
};

/** Source of the marker lines, which have none in the log. */
inline constexpr const char* kMarkerSource = "";

/** Source of the lines that go to the debugger because the log cannot be written. */
inline constexpr const char* kDebuggerSource = "debugger";

/** One line that the worker can write. All texts are ASCII. */
struct Reason {
    /** As in the log: the base name of the file that logged, when the name was given. */
    const char* source;
    /** The printf-style format, as the log site has it. */
    const char* format;
    /** Never changes, and means the same in every version. */
    const char* id;
    Concern concern;
    ReasonKind kind;
    CodeKind code;
    /** A few words for "n/a (...)"; empty for lines that explain no missing reading. */
    const char* brief;
    /** One sentence. */
    const char* text;
    /** What to do; empty when nothing can or need be done. */
    const char* remedy;
};

/** What a code means wherever it appears. */
struct CodeMeaning {
    CodeKind kind;
    int64_t code;
    /** A clause without a full stop. */
    const char* text;
    /** Takes the place of the line's own remedy; empty when that is as good. */
    const char* remedy;
};

/** A code with which a line means something else than with other codes. */
struct SpecialCase {
    /** The line's id, without the code. */
    const char* id;
    int64_t code;
    ReasonKind kind;
    const char* brief;
    const char* text;
    const char* remedy;
};

/** Rows that live as long as the program. Stubs that take these sources have no std::span yet. */
template <typename T>
class CRows {
  public:
    template <size_t kSize>
    constexpr explicit CRows(const T (&rows)[kSize]) : m_begin(rows), m_end(rows + kSize) {}

    const T* begin() const { return m_begin; }
    const T* end() const { return m_end; }

  private:
    const T* m_begin;
    const T* m_end;
};

/** Every line that the worker can write, by source in the order of a run. */
CRows<Reason> Reasons();

CRows<CodeMeaning> CodeMeanings();

CRows<SpecialCase> SpecialCases();

/** How a code is introduced: "error ", "NVML code "; empty for kNone and kValue. */
const char* CodePrefix(CodeKind kind);

}  // namespace zorvane
