// A second reader for the tests to compare with. It does one rule at a time, byte by byte, and keeps its
// nodes in a list that never moves.
#include <algorithm>
#include <deque>
#include <map>
#include <utility>
#include <vector>

#include "tests/core/client/XmlTestSupport.h"

namespace xml_test {

namespace {

enum class Kind {
    kEnd,
    kError,
    kComment,
    kCData,
    kCloseOpen,
    kPiOpen,
    kOpen,
    kTagEndEmpty,
    kPiClose,
    kTagClose,
    kTagEnd,
    kWord,
    kEquals,
    kSpace,
};

enum class State { kContent, kContentText, kName, kInTag, kEquals, kValue };

struct Piece {
    Kind kind = Kind::kError;
    std::string text = {};
    std::size_t next = 0;
};

struct Node {
    std::string name, text;
    int kind = 1;
    int parent = -1;
    std::vector<int> children;
    std::vector<std::pair<std::string, std::string>> attributes;
};

const std::map<std::string, char> kReferences = {
    {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&apos;", '\''}, {"&quot;", '"'}};

// A reference runs from its ampersand through the next semicolon, or to the end.
std::string ReferenceAt(const std::string& text, std::size_t at) {
    const std::size_t end = text.find(';', at);
    return end == std::string::npos ? text.substr(at) : text.substr(at, end + 1 - at);
}

bool IsValid(const std::string& text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '&' && kReferences.count(ReferenceAt(text, at)) == 0)
            return false;
    }
    return true;
}

std::string Decoded(const std::string& text) {
    std::string out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '&') {
            out += text[at];
            continue;
        }
        const std::string reference = ReferenceAt(text, at);
        out += kReferences.at(reference);
        at += reference.size() - 1;
    }
    return out;
}

bool IsName(const std::string& word) {
    const std::string allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789:";
    return word.find_first_not_of(allowed) == std::string::npos;
}

class Reference {
public:
    explicit Reference(const std::string& text) : text_(text.substr(0, text.find('\0'))) {
        nodes_.emplace_back();
        nodes_[0].name = "XmlDocument";
    }

    std::optional<std::string> Read() {
        if (text_.empty())
            return std::nullopt;
        while (true) {
            const Piece piece = Next();
            if (piece.kind == Kind::kEnd)
                return IsWhole() ? std::optional(ShapeOfNode(0)) : std::nullopt;
            const State former = state_;
            if (piece.kind != Kind::kComment && !Take(piece))
                return std::nullopt;
            if (piece.next == at_ && former == state_)
                return std::nullopt;
            at_ = piece.next;
        }
    }

private:
    [[nodiscard]] bool Has(const char* mark) const {
        return text_.compare(at_, std::string(mark).size(), mark) == 0;
    }
    [[nodiscard]] Piece Mark(Kind kind, std::size_t length) const {
        return {kind, text_.substr(at_, length), at_ + length};
    }
    [[nodiscard]] Piece Section(Kind kind, std::size_t startLength, const char* end) const {
        const std::size_t start = at_ + startLength;
        const std::size_t found = text_.find(end, start);
        if (found == std::string::npos)
            return {};
        return {kind, text_.substr(start, found - start), found + 3};
    }
    [[nodiscard]] static bool IsSpace(char byte) { return static_cast<signed char>(byte) <= 32; }

    // The twelve tests in their order.
    [[nodiscard]] Piece Next() const {
        if (at_ == text_.size())
            return {Kind::kEnd, "", at_};
        if (Has("<!--"))
            return Section(Kind::kComment, 4, "-->");
        if (Has("<![CDATA["))
            return inTag_ ? Piece() : Section(Kind::kCData, 9, "]]>");
        if (Has("</"))
            return inTag_ ? Piece() : Mark(Kind::kCloseOpen, 2);
        if (Has("<?"))
            return inTag_ ? Piece() : Mark(Kind::kPiOpen, 2);
        if (Has("<"))
            return inTag_ ? Piece() : Mark(Kind::kOpen, 1);
        if (Has("/>"))
            return inTag_ ? Mark(Kind::kTagEndEmpty, 2) : Piece();
        if (Has("?>"))
            return inTag_ ? Mark(Kind::kPiClose, 2) : Piece();
        if (Has(">"))
            return Mark(closing_ ? Kind::kTagClose : Kind::kTagEnd, 1);
        if (inTag_ && Has("\""))
            return Quoted();
        if (inTag_ && Has("="))
            return Mark(Kind::kEquals, 1);
        if (!inTag_)
            return Mark(Kind::kWord, std::min(text_.find('<', at_), text_.size()) - at_);
        if (IsSpace(text_[at_]))
            return Mark(Kind::kSpace, 1);
        return TagWord();
    }
    [[nodiscard]] Piece Quoted() const {
        const std::size_t end = text_.find_first_of("\"<", at_ + 1);
        if (end == std::string::npos || text_[end] == '<')
            return {};
        return Mark(Kind::kWord, end + 1 - at_);
    }
    [[nodiscard]] Piece TagWord() const {
        std::size_t end = at_;
        while (end < text_.size() && !IsSpace(text_[end]) &&
               std::string("<\"'/=>").find(text_[end]) == std::string::npos)
            ++end;
        return end == text_.size() ? Piece() : Mark(Kind::kWord, end - at_);
    }

    Node& Current() { return nodes_[static_cast<std::size_t>(current_)]; }

    bool Go(State next) {
        state_ = next;
        return true;
    }

    bool Take(const Piece& piece) {
        switch (state_) {
            case State::kContent:
            case State::kContentText:
                return TakeContent(piece);
            case State::kName:
                return piece.kind == Kind::kWord && TakeName(piece.text);
            case State::kInTag:
                return TakeInTag(piece);
            case State::kEquals:
                if (piece.kind == Kind::kEquals)
                    return Go(State::kValue);
                return piece.kind == Kind::kSpace;
            case State::kValue:
                if (piece.kind == Kind::kWord)
                    return TakeValue(piece.text);
                return piece.kind == Kind::kSpace;
        }
        return false;
    }

    bool TakeContent(const Piece& piece) {
        const bool isTextPlace = state_ == State::kContentText;
        switch (piece.kind) {
            case Kind::kOpen:
                pending_.clear();
                return OpenNode(2);
            case Kind::kPiOpen:
                return OpenNode(4);
            case Kind::kCloseOpen:
                if (!pending_.empty())
                    Current().text = std::exchange(pending_, "");
                closing_ = true;
                inTag_ = true;
                return Go(State::kName);
            case Kind::kWord:
                if (!IsValid(piece.text))
                    return false;
                if (isTextPlace)
                    pending_ = Decoded(piece.text);
                return Go(State::kContent);
            case Kind::kCData:
                if (!isTextPlace)
                    return false;
                pending_ += piece.text;
                return Go(State::kContent);
            case Kind::kTagEnd:
                inTag_ = false;
                return Go(State::kContentText);
            default:
                return false;
        }
    }

    bool OpenNode(int kind) {
        nodes_.emplace_back();
        nodes_.back().kind = kind;
        nodes_.back().parent = current_;
        const int index = static_cast<int>(nodes_.size()) - 1;
        Current().children.push_back(index);
        current_ = index;
        inTag_ = true;
        return Go(State::kName);
    }

    bool TakeName(const std::string& word) {
        if (!IsValid(word) || !IsName(word))
            return false;
        Current().name = word;
        if (!closing_)
            openNames_.push_back(word);
        return Go(State::kInTag);
    }

    bool TakeInTag(const Piece& piece) {
        switch (piece.kind) {
            case Kind::kSpace:
                return true;
            case Kind::kWord:
                attributeName_ = piece.text;
                return IsValid(piece.text) && IsName(piece.text) && Go(State::kEquals);
            case Kind::kTagEnd:
                inTag_ = false;
                return Go(State::kContentText);
            case Kind::kTagClose:
            case Kind::kTagEndEmpty:
                closing_ = false;
                return Climb();
            case Kind::kPiClose:
                return Climb();
            default:
                return false;
        }
    }

    bool Climb() {
        if (openNames_.empty() || openNames_.back() != Current().name)
            return false;
        openNames_.pop_back();
        current_ = Current().parent;
        inTag_ = false;
        return Go(State::kContent);
    }

    bool TakeValue(const std::string& word) {
        if (!IsValid(word) || word.size() < 2 || word.front() != '"' || word.back() != '"')
            return false;
        for (const auto& [name, value] : Current().attributes) {
            if (name == attributeName_)
                return false;
        }
        Current().attributes.emplace_back(attributeName_, Decoded(word.substr(1, word.size() - 2)));
        return Go(State::kInTag);
    }

    [[nodiscard]] bool IsWhole() const {
        const auto& roots = nodes_[0].children;
        if (!openNames_.empty() || (roots.size() != 1 && roots.size() != 2))
            return false;
        const Node& root = nodes_[static_cast<std::size_t>(roots.back())];
        const Node& first = nodes_[static_cast<std::size_t>(roots.front())];
        return root.kind == 2 && !root.name.empty() && (roots.size() == 1 || first.kind == 4);
    }

    [[nodiscard]] std::string ShapeOfNode(int index) const {
        const Node& node = nodes_[static_cast<std::size_t>(index)];
        std::string children, attributes;
        for (const int child : node.children)
            children += (children.empty() ? "" : ",") + ShapeOfNode(child);
        for (const auto& [name, value] : node.attributes)
            attributes += (attributes.empty() ? "" : ",") + name + "=" + value;
        if (index == 0 && node.name == "XmlDocument" && node.text.empty() && attributes.empty())
            return children;
        std::string shape = (node.kind == 1 ? "#" : node.kind == 4 ? "?" : "") + node.name;
        shape += attributes.empty() ? "" : "(" + attributes + ")";
        shape += node.text.empty() ? "" : "'" + node.text + "'";
        return shape + (children.empty() ? "" : "{" + children + "}");
    }

    const std::string text_;
    std::size_t at_ = 0;
    std::deque<Node> nodes_;
    int current_ = 0;
    std::vector<std::string> openNames_;
    std::string pending_, attributeName_;
    bool inTag_ = false, closing_ = false;
    State state_ = State::kContent;
};

}  // namespace

std::optional<std::string> ReferenceShapeOf(const std::string& text) {
    return Reference(text).Read();
}

}  // namespace xml_test
