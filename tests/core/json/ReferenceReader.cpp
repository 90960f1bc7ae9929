// A second reader for the tests to compare with. It does one rule at a time, byte by byte, and keeps its
// nodes in a list that never moves, so that no rule depends on where a node lies.
#include <deque>
#include <utility>
#include <vector>

#include "tests/core/json/JsonTestSupport.h"

namespace json_test {

namespace {

struct Node {
    std::string key, value;
    bool isString = true, isArray = false, isObject = false;
    int parent = -1;
    std::vector<int> children;
};

// The value of the escape at `at`, or -1.
int Unit(const std::string& text, std::size_t at) {
    if (at + 6 > text.size() || text[at] != '\\' || text[at + 1] != 'u')
        return -1;
    const std::string digits = text.substr(at + 2, 4);
    if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return -1;
    return std::stoi(digits, nullptr, 16);
}

std::string Utf8(int point) {
    const auto byte = [](int value) { return static_cast<char>(value); };
    const std::string plain = "\"\\\b\f\n\r\t", letters = "\"\\bfnrt";
    if (const auto place = plain.find(byte(point)); point < 0x80 && point != 0 && place != std::string::npos)
        return std::string("\\") + letters[place];
    if (point < 0x80)
        return {byte(point)};
    if (point < 0x800)
        return {byte(0xC0 | point >> 6), byte(0x80 | (point & 63))};
    if (point < 0x10000)
        return {byte(0xE0 | point >> 12), byte(0x80 | (point >> 6 & 63)), byte(0x80 | (point & 63))};
    return {byte(0xF0 | point >> 18), byte(0x80 | (point >> 12 & 63)), byte(0x80 | (point >> 6 & 63)),
            byte(0x80 | (point & 63))};
}

std::string DecodeEscapes(const std::string& text) {
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        if (text.compare(at, 2, "\\u") != 0) {
            out += text[at++];
            continue;
        }
        const int high = Unit(text, at);
        if (high < 0)
            return text;
        at += 6;
        if (high < 0xD800 || high > 0xDBFF) {
            out += Utf8(high);
            continue;
        }
        const int low = Unit(text, at);
        if (low < 0xDC00 || low > 0xDFFF)
            return text;
        at += 6;
        out += Utf8(0x10000 + (high - 0xD800) * 1024 + (low - 0xDC00));
    }
    return out;
}

class Reference {
public:
    explicit Reference(const std::string& text) : text_(DecodeEscapes(text).c_str()) {}

    std::optional<std::string> Read() {
        nodes_.emplace_back();
        if (!Run() || Next())
            return std::nullopt;
        return ShapeOfNode(0);
    }

private:
    std::optional<std::string> Next() {
        while (at_ < text_.size() && static_cast<signed char>(text_[at_]) < 33)
            ++at_;
        const auto end = EndOfToken();
        if (!end) {
            at_ = text_.size();
            return std::nullopt;
        }
        const std::size_t start = std::exchange(at_, *end);
        return text_.substr(start, *end - start);
    }

    std::optional<std::string> Peek() {
        const std::size_t before = at_;
        const auto token = Next();
        at_ = before;
        return token;
    }

    std::optional<std::size_t> EndOfToken() const {
        if (at_ == text_.size())
            return std::nullopt;
        const std::string brackets = "[]{},:";
        if (brackets.find(text_[at_]) != std::string::npos)
            return at_ + 1;
        if (text_[at_] == '"') {
            std::size_t end = at_ + 1;
            while (end < text_.size() && text_[end] != '"')
                end += text_[end] == '\\' ? 2 : 1;
            return end < text_.size() ? std::optional(end + 1) : std::nullopt;
        }
        for (const std::string literal : {"true", "false", "null"})
            if (text_.compare(at_, literal.size(), literal) == 0)
                return at_ + literal.size();
        std::size_t end = at_;
        while (end < text_.size() && std::string("+-.0123456789Ee").find(text_[end]) != std::string::npos)
            ++end;
        return end == at_ ? at_ + 1 : end;
    }

    static std::string Unescaped(const std::string& token) {
        std::string out;
        for (std::size_t i = 0; i < token.size(); ++i) {
            if (token[i] != '\\') {
                out += token[i];
            } else if (++i < token.size()) {
                const auto place = std::string("bfnrt").find(token[i]);
                out += place == std::string::npos ? token[i] : "\b\f\n\r\t"[place];
            }
        }
        return out;
    }

    Node& At(int index) { return nodes_[static_cast<std::size_t>(index)]; }

    int AddPlaceholder(int parent) {
        nodes_.emplace_back();
        nodes_.back().parent = parent;
        At(parent).children.push_back(static_cast<int>(nodes_.size()) - 1);
        return At(parent).children.back();
    }

    bool Run() {
        for (int count = 0;; ++count) {
            const auto token = Next();
            if (!token)
                return false;
            bool ended = false;
            if (!Take(*token, count == 0, ended))
                return false;
            if (ended)
                return true;
        }
    }

    bool Take(const std::string& token, bool isFirst, bool& ended) {
        if (token == "{" || token == "[")
            return Open(token == "[", isFirst);
        if (token == "}" || token == "]")
            return Close(ended);
        if (token == ",")
            return Comma();
        if (token == ":")
            return std::exchange(state_, 2) == 3;
        return Scalar(token, isFirst, ended);
    }

    bool Open(bool isArray, bool isFirst) {
        if (state_ == 3 || (last_ < 0 && !isFirst))
            return false;
        if (!isFirst) {
            current_ = last_;
            At(current_).value.clear();
        }
        (isArray ? At(current_).isArray : At(current_).isObject) = true;
        last_ = isFirst && !isArray ? 0 : AddPlaceholder(current_);
        state_ = isArray ? 2 : 1;
        return true;
    }

    bool Close(bool& ended) {
        if (state_ == 3)
            return false;
        Node& container = At(current_);
        if ((container.isArray || container.isObject) && container.children.size() == 1) {
            const Node& only = At(container.children[0]);
            if (only.key.empty() && only.value.empty() && only.children.empty() && !only.isArray &&
                !only.isObject) {
                if (last_ == container.children[0])
                    last_ = -1;
                container.children.clear();
            }
        }
        ended = container.parent < 0;
        current_ = container.parent;
        state_ = 0;
        return true;
    }

    bool Comma() {
        if (At(current_).children.empty() || state_ != 0)
            return false;
        const auto following = Peek();
        if (following == "]" || following == "}")
            return true;
        state_ = At(At(current_).children[0]).key.empty() ? 2 : 1;
        last_ = AddPlaceholder(current_);
        return true;
    }

    bool Scalar(std::string token, bool isFirst, bool& ended) {
        if (last_ < 0 && !isFirst)
            return false;
        const bool isQuoted = token.front() == '"';
        if (isQuoted)
            token = token.substr(1, token.size() - 2);
        if (last_ == current_)
            last_ = AddPlaceholder(current_);
        if (state_ == 1) {
            At(last_).key = Unescaped(token);
            state_ = 3;
            return true;
        }
        ended = state_ == 0 && isFirst;
        if (state_ != 2 && !ended)
            return false;
        Node& node = At(ended ? 0 : last_);
        node.value = Unescaped(token);
        node.isString = isQuoted;
        node.isArray = node.isObject = false;
        node.children.clear();
        state_ = 0;
        return true;
    }

    std::string ShapeOfNode(int index) {
        const Node& node = At(index);
        const std::string name = node.key.empty() ? "" : node.key + "=";
        if (!node.isArray && !node.isObject)
            return name + (node.isString ? Between("\"", node.value, "\"") : node.value);
        std::string inner;
        for (const int child : node.children) {
            inner += child == node.children.front() ? "" : ",";
            inner += ShapeOfNode(child);
        }
        if (node.isObject)
            inner = Between("{", inner, "}");
        return name + (node.isArray ? Between("[", inner, "]") : inner);
    }

    std::string text_;  // up to the first zero byte
    std::size_t at_ = 0;
    std::deque<Node> nodes_;
    int current_ = 0;
    int last_ = -1;
    int state_ = 0;  // 0 behind a value, 1 a name, 2 a value, 3 a colon is due
};

}  // namespace

std::optional<std::string> ReferenceShapeOf(const std::string& text) {
    return Reference(text).Read();
}

}  // namespace json_test
