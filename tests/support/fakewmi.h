/** A scriptable fake of COM and WMI. */
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/**
 * Answers this program's COM calls with objects of its own, for its own life; one at a time. Each
 * call is kept with its arguments, each release with the object's name.
 */
class CFakeWmi {
  public:
    /** What one call of the enumerator's Next answers. */
    struct NextAnswer {
        HRESULT result;
        ULONG returned;
        /** False: no object is handed out. */
        bool hasObject;
    };

    /** `calls` takes the calls. */
    explicit CFakeWmi(std::vector<std::string>& calls);
    ~CFakeWmi();
    CFakeWmi(const CFakeWmi&) = delete;
    CFakeWmi& operator=(const CFakeWmi&) = delete;

    /** Adds an instance whose status is `value`; the first one is given first. */
    void AddInstance(const VARIANT& value, HRESULT nextResult = S_OK);

    /** Results of the functions by name; S_OK where there is none. */
    std::map<std::string, HRESULT> results;
    /** The enumerator's answers; when there are no more, WBEM_S_FALSE without an object. */
    std::vector<NextAnswer> nextAnswers;
    /** The values of the objects, in the order in which Get is called. */
    std::vector<VARIANT> values;
    /** Texts that were allocated for COM and not freed. */
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
