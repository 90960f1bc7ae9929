// The writer: goes over the tree twice, once to measure the text and once to write it, so that the output
// grows once. A stack of its own stands in for recursion.
#include <cstring>

#include "core/src/json/Json.h"

namespace json {

using portable_stl::string;

namespace {

constexpr std::size_t kIndentStep = 4;  // blanks a level

// What follows the backslash for each byte that gets one, 0 for the others.
struct EscapeLetters {
    char of[256] = {};

    constexpr EscapeLetters() {
        Set('\n', 'n');
        Set('\t', 't');
        Set('\r', 'r');
        Set('\f', 'f');
        Set('\b', 'b');
        Set('\\', '\\');
        Set('"', '"');
        Set('/', '/');
    }

    constexpr void Set(char byte, char letter) { of[static_cast<unsigned char>(byte)] = letter; }
};

constexpr EscapeLetters kEscapeLetters;

char EscapeLetter(char character) noexcept {
    return kEscapeLetters.of[static_cast<unsigned char>(character)];
}

// Counts what TextWriter writes.
class TextMeasure {
public:
    void Put(char) noexcept { ++size_; }
    void PutBlanks(std::size_t count) noexcept { size_ += count; }
    void PutRaw(const string& text) noexcept { size_ += text.size(); }
    void PutEscaped(const string& text) noexcept {
        size_ += text.size();
        for (const char character : text)
            size_ += EscapeLetter(character) != 0 ? 1 : 0;
    }

    [[nodiscard]] std::size_t size() const noexcept { return size_; }

private:
    std::size_t size_ = 0;
};

// Writes to a place that has room for what TextMeasure counted.
class TextWriter {
public:
    explicit TextWriter(char* at) noexcept : at_(at) {}

    void Put(char character) noexcept { *at_++ = character; }
    void PutBlanks(std::size_t count) noexcept {
        std::memset(at_, ' ', count);
        at_ += count;
    }
    void PutRaw(const string& text) noexcept {
        std::memcpy(at_, text.data(), text.size());
        at_ += text.size();
    }
    void PutEscaped(const string& text) noexcept {
        for (const char character : text) {
            const char letter = EscapeLetter(character);
            if (letter != 0)
                *at_++ = '\\';
            *at_++ = letter != 0 ? letter : character;
        }
    }

private:
    char* at_;
};

bool IsWrittenAsArray(const JsonNode& node) noexcept {
    return node.isArray && node.value.empty();
}

// Goes over one tree and hands its text to `Sink`, piece by piece.
template <class Sink>
class Traversal {
public:
    Traversal(Sink& sink, bool pretty) noexcept : sink_(sink), pretty_(pretty) {}

    void Run(const JsonNode& top, std::size_t indent) {
        indent_ = indent;
        Enter(top);
        while (!open_.empty()) {
            Container& container = open_.back();
            if (container.next == container.node->children.end()) {
                Leave(*container.node);
            } else {
                const JsonNode& child = *container.next;
                BeginChild(container.next != container.node->children.begin());
                ++container.next;
                Enter(child);
            }
        }
    }

private:
    struct Container {
        const JsonNode* node;
        const JsonNode* next;  // the child to be written next
    };

    // The name, and the whole of a node without children or the opening bracket of one with them.
    void Enter(const JsonNode& node) {
        if (!node.key.empty())
            PutName(node.key);
        if (node.children.empty()) {
            PutChildless(node);
            return;
        }
        sink_.Put(IsWrittenAsArray(node) ? '[' : '{');
        indent_ += kIndentStep;
        open_.push_back({&node, node.children.begin()}).value();
    }

    void PutName(const string& key) {
        PutQuoted(key);
        sink_.Put(':');
        if (pretty_)
            sink_.Put(' ');
    }

    void PutChildless(const JsonNode& node) {
        if (node.isArray && node.value.empty()) {
            sink_.Put('[');
            sink_.Put(']');
        } else if (node.isObject && node.value.empty()) {
            sink_.Put('{');
            sink_.Put('}');
        } else if (node.isString) {
            PutQuoted(node.value);
        } else {
            sink_.PutRaw(node.value);
        }
    }

    void PutQuoted(const string& text) {
        sink_.Put('"');
        sink_.PutEscaped(text);
        sink_.Put('"');
    }

    void BeginChild(bool isBehindAnother) {
        if (isBehindAnother)
            sink_.Put(',');
        BeginLine();
    }

    void Leave(const JsonNode& node) {
        indent_ -= kIndentStep;
        BeginLine();
        sink_.Put(IsWrittenAsArray(node) ? ']' : '}');
        open_.pop_back();
    }

    void BeginLine() {
        if (!pretty_)
            return;
        sink_.Put('\n');
        sink_.PutBlanks(indent_);
    }

    Sink& sink_;
    const bool pretty_;
    std::size_t indent_ = 0;
    portable_stl::vector<Container> open_;
};

// The room behind the text of `out` for `added` more bytes, which become part of the text.
char* Extend(string& out, std::size_t added) {
    const std::size_t former = out.size();
    out.resize(former + added);
    return out.data() + former;
}

}  // namespace

bool WriteJson(const JsonNode& root, string& out, bool pretty) {
    out.clear();
    if (!root.key.empty() || !root.value.empty() || !root.children.empty())
        WriteJsonNode(root, out, 0, pretty);
    else
        out = root.isArray ? "[]" : root.isObject ? "{}" : "\"\"";
    return true;
}

void WriteJsonNode(const JsonNode& node, string& out, std::size_t indent, bool pretty) {
    TextMeasure measure;
    Traversal<TextMeasure>(measure, pretty).Run(node, indent);
    TextWriter writer(Extend(out, measure.size()));
    Traversal<TextWriter>(writer, pretty).Run(node, indent);
}

string EscapeJsonText(const string& text) {
    TextMeasure measure;
    measure.PutEscaped(text);
    string escaped;
    TextWriter(Extend(escaped, measure.size())).PutEscaped(text);
    return escaped;
}

}  // namespace json
