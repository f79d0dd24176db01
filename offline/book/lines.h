// Text line by line, with the numbers that messages tell.
#pragma once

#include <algorithm>
#include <string_view>

/// Lines without the blanks around them. Empty lines and comments, which begin with a hash, do not come up.
class TextLines {
  public:
    /// The text must outlive the walk.
    explicit TextLines(std::string_view text) : text_(text) {}

    /// Steps to the next line; false at the end of the text.
    bool Next() {
        constexpr std::string_view BLANKS = " \t\r\v\f";
        while (at_ < text_.size()) {
            line_ = text_.substr(at_, text_.find('\n', at_) - at_);
            at_ = std::min(at_ + line_.size() + 1, text_.size());
            ++number_;
            line_.remove_prefix(std::min(line_.find_first_not_of(BLANKS), line_.size()));
            line_ = line_.substr(0, line_.find_last_not_of(BLANKS) + 1);
            if (!line_.empty() && line_.front() != '#') {
                return true;
            }
        }
        return false;
    }

    std::string_view Line() const { return line_; }
    int Number() const { return number_; }

    /// Bytes up to the end of the line.
    std::size_t Offset() const { return at_; }

  private:
    std::string_view text_;
    std::string_view line_;
    std::size_t at_ = 0;
    int number_ = 0;
};
