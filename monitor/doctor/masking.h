#pragma once

#include <string>
#include <utility>

namespace zorvane {

/** Takes the names of the user and the computer out of texts that are shown to others. */
class CMasking {
  public:
    /** Empty names are not looked for. */
    CMasking(std::string user, std::string computer)
        : m_user(std::move(user)), m_computer(std::move(computer)) {}

    /**
     * `text` with the names replaced where they stand as whole words. Letter case does not matter
     * to the computer's name, nor to the user's in a path; elsewhere the user's is taken as it is,
     * since it may be a word like another.
     */
    std::string Apply(const std::string& text) const;

  private:
    std::string m_user;
    std::string m_computer;
};

}  // namespace zorvane
