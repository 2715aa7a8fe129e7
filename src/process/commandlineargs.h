/** The words of a command line as keys and values. */
#pragma once

#include <map>
#include <string>

/**
 * Splits one word into key and value at its first "=". White space around both is removed, then one
 * double quote at each end of the value. A word without "=" is a key with an empty value.
 */
struct CommandLineWord {
    explicit CommandLineWord(const std::wstring& word);

    std::wstring key;
    std::wstring value;
};

/** A parsed command line; keys are found without regard to letter case. Not thread-safe. */
class CommandLineArgs {
  public:
    /** Keeps a copy of `commandLine` for Parse. */
    void SetCommandLine(const wchar_t* commandLine);

    /**
     * Splits the kept line as Windows does and stores every word, the first one included; of a key
     * that occurs twice the last value stays. False when Windows cannot split the line; no key is
     * known then.
     */
    bool Parse();

    /** Stores `value` under the upper-cased `key`, replacing an earlier value. Always true. */
    bool SetValue(const std::wstring& key, const std::wstring& value);

    /** Finds `key`; when it is not there `value` stays as it is and the answer is false. */
    bool GetValue(const std::wstring& key, std::wstring& value) const;

  private:
    std::wstring m_commandLine;
    std::map<std::wstring, std::wstring> m_arguments;
};
