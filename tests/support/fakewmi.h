/** A scriptable fake of COM and WMI. */
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/**
 * While it exists, this program's COM calls reach fake objects; one at a time. Every call is
 * recorded with its arguments, every release with the object's name.
 */
class CFakeWmi {
  public:
    /** The result of one call of the enumerator's Next. */
    struct NextAnswer {
        HRESULT result;
        ULONG returned;
        /** False: no object is returned. */
        bool hasObject;
    };

    /** Appends to `calls`. */
    explicit CFakeWmi(std::vector<std::string>& calls);
    ~CFakeWmi();
    CFakeWmi(const CFakeWmi&) = delete;
    CFakeWmi& operator=(const CFakeWmi&) = delete;

    /** Adds an instance whose status is `value` to the end of the enumeration. */
    void AddInstance(const VARIANT& value, HRESULT nextResult = S_OK);

    /** Results by function name; S_OK by default. */
    std::map<std::string, HRESULT> results;
    /** The results of Next, in order; afterwards WBEM_S_FALSE without an object. */
    std::vector<NextAnswer> nextAnswers;
    /** The values that Get returns, in order. */
    std::vector<VARIANT> values;
    /** BSTRs allocated and not yet freed. */
    int openTexts = 0;

  private:
    struct Objects;
    struct Patches;

    void Record(const std::string& call);
    HRESULT ResultOf(const char* function) const;

    std::vector<std::string>& m_calls;
    size_t m_nextCount = 0;
    size_t m_getCount = 0;
    std::unique_ptr<Patches> m_patches;
};

/** A variant that holds a 32-bit number under `type`. */
VARIANT Number(LONG number, VARTYPE type = VT_I4);
