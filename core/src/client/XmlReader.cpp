// The state machine of the reader.
#include <cstddef>
#include <utility>

#include "core/src/client/XmlEntities.h"
#include "core/src/client/XmlNode.h"
#include "core/src/client/XmlTokenizer.h"
#include "portable_stl/exception.h"

namespace xml {

using portable_stl::string;
using portable_stl::vector;

namespace {

enum class State : std::uint8_t {
    Content,      // between tags
    ContentText,  // directly behind the > of an open tag, or a stray one: the one place where text is kept
    Name,         // of a tag
    InTag,        // behind a name or an attribute
    Equals,       // behind an attribute's name
    Value,        // of an attribute
    Count,
};

bool IsNameByte(char byte) noexcept {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= ':');
}

bool IsName(const Token& word) noexcept {
    for (std::size_t i = 0; i < word.length; ++i) {
        if (!IsNameByte(word.text[i]))
            return false;
    }
    return true;
}

struct NameReference {
    const string* name;
};

// Sinks the name at `root` to its place in a heap with the greatest on top.
void SiftDown(vector<NameReference>& heap, std::size_t root, std::size_t count) {
    while (root * 2 + 1 < count) {
        std::size_t child = root * 2 + 1;
        if (child + 1 < count && heap[child].name->compare(*heap[child + 1].name) < 0)
            ++child;
        if (heap[root].name->compare(*heap[child].name) >= 0)
            return;
        std::swap(heap[root], heap[child]);
        root = child;
    }
}

// By sorting, since a hostile tag has very many: equal names come off the heap one behind the other.
bool HasDuplicates(const vector<XmlAttribute>& attributes) {
    if (attributes.size() < 2)
        return false;
    vector<NameReference> names;
    names.reserve(attributes.size()).value();
    for (const XmlAttribute& attribute : attributes)
        names.push_back(NameReference{&attribute.name}).value();
    for (std::size_t root = names.size() / 2; root > 0; --root)
        SiftDown(names, root - 1, names.size());
    for (std::size_t count = names.size(); count > 1; --count) {
        std::swap(names[0], names[count - 1]);
        SiftDown(names, 0, count - 1);
        if (*names[0].name == *names[count - 1].name)
            return true;
    }
    return false;
}

class Reader {
public:
    explicit Reader(XmlNode& document) : document_(document), current_(&document) {}

    bool Read(const char* position);

private:
    using Action = bool (Reader::*)(const Token&);
    // NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): in the order in which a row is read
    struct Row {
        State state;
        TokenKind token;
        Action action;
        State next;
    };
    static const Row kRows[];
    struct Transitions;

    // What a token does; false ends the reading.
    bool OpenElement(const Token& token);
    bool OpenInstruction(const Token& token);
    bool OpenClosingTag(const Token& token);
    bool CheckText(const Token& token);
    bool TakeText(const Token& token);
    bool TakeCData(const Token& token);
    bool TakeName(const Token& token);
    bool TakeAttributeName(const Token& token);
    bool TakeValue(const Token& token);
    bool EndTag(const Token& token);
    bool CloseNode(const Token& token);
    bool CloseInstruction(const Token& token);
    bool Pass(const Token& token);

    bool OpenNode(NodeKind kind);
    [[nodiscard]] bool CheckNewAttributes();
    [[nodiscard]] bool IsWhole() const;

    // A name as it stands in the text.
    struct OpenName {
        const char* text;
        std::size_t length;
    };

    XmlNode& document_;
    XmlNode* current_;
    vector<OpenName> openNames_;  // of the open nodes, but for those that the closing flag kept off it
    string pendingText_;          // becomes that of the node that is closed next
    string attributeName_;
    State state_ = State::Content;
    bool inTag_ = false;
    bool closing_ = false;
    bool hasNewAttributes_ = false;  // since the last check
};

// A token without a row is refused; a comment is passed over in every state.
constexpr Reader::Row Reader::kRows[] = {
    {State::Content, TokenKind::Open, &Reader::OpenElement, State::Name},
    {State::ContentText, TokenKind::Open, &Reader::OpenElement, State::Name},
    {State::Content, TokenKind::CloseOpen, &Reader::OpenClosingTag, State::Name},
    {State::ContentText, TokenKind::CloseOpen, &Reader::OpenClosingTag, State::Name},
    {State::Content, TokenKind::PiOpen, &Reader::OpenInstruction, State::Name},
    {State::ContentText, TokenKind::PiOpen, &Reader::OpenInstruction, State::Name},
    {State::Content, TokenKind::Word, &Reader::CheckText, State::Content},
    {State::ContentText, TokenKind::Word, &Reader::TakeText, State::Content},
    {State::ContentText, TokenKind::CData, &Reader::TakeCData, State::Content},
    {State::Content, TokenKind::TagEnd, &Reader::EndTag, State::ContentText},
    {State::ContentText, TokenKind::TagEnd, &Reader::EndTag, State::ContentText},
    {State::Name, TokenKind::Word, &Reader::TakeName, State::InTag},
    {State::InTag, TokenKind::Space, &Reader::Pass, State::InTag},
    {State::InTag, TokenKind::Word, &Reader::TakeAttributeName, State::Equals},
    {State::InTag, TokenKind::TagEnd, &Reader::EndTag, State::ContentText},
    {State::InTag, TokenKind::TagClose, &Reader::CloseNode, State::Content},
    {State::InTag, TokenKind::TagEndEmpty, &Reader::CloseNode, State::Content},
    {State::InTag, TokenKind::PiClose, &Reader::CloseInstruction, State::Content},
    {State::Equals, TokenKind::Equals, &Reader::Pass, State::Value},
    {State::Equals, TokenKind::Space, &Reader::Pass, State::Equals},
    {State::Value, TokenKind::Space, &Reader::Pass, State::Value},
    {State::Value, TokenKind::Word, &Reader::TakeValue, State::InTag},
};

// The rows by state and token.
struct Reader::Transitions {
    constexpr Transitions() {
        for (const Row& row : kRows)
            rows[static_cast<std::size_t>(row.state)][static_cast<std::size_t>(row.token)] = &row;
    }
    [[nodiscard]] constexpr const Row* Find(State state, TokenKind token) const {
        return rows[static_cast<std::size_t>(state)][static_cast<std::size_t>(token)];
    }

    const Row* rows[static_cast<std::size_t>(State::Count)][static_cast<std::size_t>(TokenKind::Count)] = {};
};

bool Reader::Read(const char* position) {
    static constexpr Transitions kTransitions;
    while (true) {
        const Token token = NextXmlToken(position, inTag_, closing_);
        if (token.kind == TokenKind::End)
            return CheckNewAttributes() && IsWhole();
        if (token.kind != TokenKind::Comment) {
            const Row* const row = kTransitions.Find(state_, token.kind);
            if (row == nullptr || !(this->*row->action)(token))
                return false;
            if (token.next == position && row->next == state_)
                return false;  // nothing has moved, so nothing ever would
            state_ = row->next;
        }
        position = token.next;
    }
}

bool Reader::OpenNode(NodeKind kind) {
    XmlNode child;
    child.kind = kind;
    child.parent = current_;
    current_->children.push_back(std::move(child)).value();
    current_ = &current_->children.back();
    inTag_ = true;
    return true;
}

bool Reader::OpenElement(const Token& /*token*/) {
    pendingText_.clear();
    return OpenNode(kElement);
}

bool Reader::OpenInstruction(const Token& /*token*/) {
    return OpenNode(kInstruction);
}

bool Reader::OpenClosingTag(const Token& /*token*/) {
    if (!pendingText_.empty()) {
        current_->text = std::move(pendingText_);
        pendingText_.clear();
    }
    closing_ = true;
    inTag_ = true;
    return true;
}

// Text that is dropped has to be valid all the same.
bool Reader::CheckText(const Token& token) {
    return HasValidEntities(token.text, token.length);
}

bool Reader::TakeText(const Token& token) {
    if (!HasValidEntities(token.text, token.length))
        return false;
    pendingText_ = DecodeEntities(token.text, token.length);
    return true;
}

// A stray > lets sections follow one another, so that room for the next is made ahead.
bool Reader::TakeCData(const Token& token) {
    const std::size_t size = pendingText_.size() + token.length;
    if (!pendingText_.empty() && size >= pendingText_.capacity() && !pendingText_.reserve(size * 2))
        throw portable_stl::bad_alloc();
    pendingText_.append(token.text, token.length);
    return true;
}

// A closing tag's name takes the place of the node's, which is what a mismatch is then found by.
bool Reader::TakeName(const Token& token) {
    if (!IsName(token))
        return false;
    current_->name.assign(token.text, token.length);
    if (!closing_)
        openNames_.push_back(OpenName{token.text, token.length}).value();
    return true;
}

bool Reader::TakeAttributeName(const Token& token) {
    if (!IsName(token))
        return false;
    attributeName_.assign(token.text, token.length);
    return true;
}

bool Reader::TakeValue(const Token& token) {
    const bool isQuoted = token.length >= 2 && token.text[0] == '"' && token.text[token.length - 1] == '"';
    if (!isQuoted || !HasValidEntities(token.text, token.length))
        return false;
    XmlAttribute attribute;
    attribute.name.swap(attributeName_);
    attribute.value = DecodeEntities(token.text + 1, token.length - 2);
    current_->attributes.push_back(std::move(attribute)).value();
    hasNewAttributes_ = true;
    return true;
}

bool Reader::EndTag(const Token& /*token*/) {
    inTag_ = false;
    return CheckNewAttributes();
}

bool Reader::CloseInstruction(const Token& /*token*/) {
    if (openNames_.empty() || !CheckNewAttributes())
        return false;
    const OpenName& open = openNames_.back();
    if (current_->name.compare(open.text, open.length) != 0)
        return false;
    openNames_.pop_back();
    current_ = current_->parent;
    inTag_ = false;
    return true;
}

bool Reader::CloseNode(const Token& token) {
    closing_ = false;
    return CloseInstruction(token);
}

bool Reader::Pass(const Token& /*token*/) {
    return true;
}

// Asked where a tag ends instead of at each attribute: the verdict is the same.
bool Reader::CheckNewAttributes() {
    return !std::exchange(hasNewAttributes_, false) || !HasDuplicates(current_->attributes);
}

// One root element, perhaps behind one instruction.
bool Reader::IsWhole() const {
    const auto& children = document_.children;
    if (!openNames_.empty() || children.empty() || children.size() > 2)
        return false;
    if (children.size() == 2 && children[0].kind != kInstruction)
        return false;
    const XmlNode& root = children.back();
    return root.kind == kElement && !root.name.empty();
}

}  // namespace

std::int32_t ParseXml(const string& text, XmlNode& document) {
    ClearXml(document);
    document.name = "XmlDocument";
    document.parent = nullptr;
    document.kind = kDocument;
    if (!text.empty() && Reader(document).Read(text.c_str()))
        return 0;
    ClearXml(document);
    return -1;
}

}  // namespace xml
