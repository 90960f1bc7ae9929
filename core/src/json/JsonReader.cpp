// The reader: pulls tokens and fills the tree, with the parent links as its stack.
#include <cstddef>
#include <utility>

#include "core/src/json/Json.h"
#include "core/src/json/JsonTokenizer.h"
#include "core/src/json/JsonUnicode.h"

namespace json {

using portable_stl::string;

namespace {

JsonNode* AddPlaceholder(JsonNode& parent) {
    parent.children.emplace_back().value();
    JsonNode& child = parent.children.back();
    child.parent = &parent;
    return &child;
}

// The container that a new one is likely to resemble: the one at the same place in the sibling of its
// parent, else the sibling in front. Null when there is neither.
const JsonNode* ModelOf(const JsonNode& node) noexcept {
    if (node.parent == nullptr)
        return nullptr;
    const JsonNode& parent = *node.parent;
    const auto place = static_cast<std::size_t>(&node - parent.children.data());
    if (parent.parent != nullptr && &parent != &parent.parent->children.front()) {
        const auto& cousins = (&parent)[-1].children;
        if (place < cousins.size())
            return &cousins[place];
    }
    return place == 0 ? nullptr : &node - 1;
}

// Records have few members; a long list doubles its block as it grows and needs no guess. The bound keeps a
// hostile document from being given much more than it holds.
constexpr std::size_t kMostReserved = 64;

// Lists of alike records are the bulk of a large document, so most containers get all their children into
// one block of the right size. No container is the model of more than two others: what is reserved in
// vain stays below twice what the document holds.
void ReserveAsModel(JsonNode& container) {
    const JsonNode* const model = ModelOf(container);
    if (model != nullptr && model->children.size() <= kMostReserved)
        container.children.reserve(model->children.size()).value();
}

bool IsPlaceholder(const JsonNode& node) noexcept {
    return node.key.empty() && node.value.empty() && node.children.empty() && !node.isArray && !node.isObject;
}

char UnescapedLetter(char letter) noexcept {
    switch (letter) {
        case 'b':
            return '\b';
        case 'f':
            return '\f';
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return letter;
    }
}

// Replaces `target` by the token's text. Each backslash is dropped and the byte behind it taken; there is
// none behind a stray backslash, which is a token by itself and reads as the empty text.
void Unescape(const Token& token, string& target) {
    if (!token.hasBackslash) {
        target.assign(token.text, token.length);
        return;
    }
    target.resize(token.length);
    char* out = target.data();
    const char* const end = token.text + token.length;
    for (const char* at = token.text; at != end; ++at) {
        if (*at != '\\')
            *out++ = *at;
        else if (++at != end)
            *out++ = UnescapedLetter(*at);
        else
            break;
    }
    target.resize(static_cast<std::size_t>(out - target.data()));
}

// The scalar replaces whatever the node held, its children too.
void SetScalar(JsonNode& node, const Token& token) {
    Unescape(token, node.value);
    node.isString = token.isQuoted;
    node.isArray = false;
    node.isObject = false;
    node.children.clear();
}

class Parser {
public:
    explicit Parser(JsonNode& root) noexcept : root_(root), current_(&root) {}

    // Whether `text` is one document with nothing behind it.
    bool Parse(const char* text);

private:
    // What the document is waiting for.
    enum class State { AfterValue, Name, Value, Colon };
    enum class Step { GoOn, Fail, Done };

    Step Take(const Token& token);
    Step Open(bool asArray);
    Step Close() noexcept;
    Step TakeComma(const Token& comma);
    Step TakeColon() noexcept;
    Step TakeScalar(const Token& token);

    JsonNode& root_;
    JsonNode* current_;         // the open container
    JsonNode* last_ = nullptr;  // the node touched last, null when there is none
    State state_ = State::AfterValue;
    bool isFirstToken_ = true;
};

bool Parser::Parse(const char* text) {
    const char* position = text;
    while (true) {
        const Token token = NextJsonToken(position);
        position = token.next;
        if (const Step step = Take(token); step != Step::GoOn)
            return step == Step::Done && NextJsonToken(position).kind == TokenKind::End;
        isFirstToken_ = false;
    }
}

Parser::Step Parser::Take(const Token& token) {
    switch (token.kind) {
        case TokenKind::OpenObject:
            return Open(false);
        case TokenKind::OpenArray:
            return Open(true);
        case TokenKind::Close:
            return Close();
        case TokenKind::Comma:
            return TakeComma(token);
        case TokenKind::Colon:
            return TakeColon();
        case TokenKind::Scalar:
            return TakeScalar(token);
        case TokenKind::End:
            break;
    }
    return Step::Fail;
}

// The first container is the root. A later one takes the place of the last node, whatever that held. The
// last node of a root object is the root itself, which gets its first member with the first name.
Parser::Step Parser::Open(bool asArray) {
    if (state_ == State::Colon)
        return Step::Fail;
    if (isFirstToken_) {
        last_ = asArray ? AddPlaceholder(root_) : &root_;
    } else {
        if (last_ == nullptr)
            return Step::Fail;
        current_ = last_;
        current_->value.clear();
        ReserveAsModel(*current_);
        last_ = AddPlaceholder(*current_);
    }
    (asArray ? current_->isArray : current_->isObject) = true;
    state_ = asArray ? State::Value : State::Name;
    return Step::GoOn;
}

Parser::Step Parser::Close() noexcept {
    if (state_ == State::Colon)
        return Step::Fail;
    auto& children = current_->children;
    const bool isFlagged = current_->isArray || current_->isObject;
    if (isFlagged && children.size() == 1 && IsPlaceholder(children.front())) {
        if (last_ == &children.front())
            last_ = nullptr;
        children.pop_back();
    }
    if (current_->parent == nullptr)
        return Step::Done;
    current_ = current_->parent;
    state_ = State::AfterValue;
    return Step::GoOn;
}

Parser::Step Parser::TakeComma(const Token& comma) {
    const auto& children = current_->children;
    if (children.empty() || state_ != State::AfterValue)
        return Step::Fail;
    if (ClosesNext(comma.next))
        return Step::GoOn;
    state_ = children.front().key.empty() ? State::Value : State::Name;
    last_ = AddPlaceholder(*current_);
    return Step::GoOn;
}

Parser::Step Parser::TakeColon() noexcept {
    if (state_ != State::Colon)
        return Step::Fail;
    state_ = State::Value;
    return Step::GoOn;
}

Parser::Step Parser::TakeScalar(const Token& token) {
    if (last_ == nullptr && !isFirstToken_)
        return Step::Fail;
    if (last_ == current_)
        last_ = AddPlaceholder(*current_);
    switch (state_) {
        case State::Name:
            Unescape(token, last_->key);
            state_ = State::Colon;
            return Step::GoOn;
        case State::Value:
            SetScalar(*last_, token);
            state_ = State::AfterValue;
            return Step::GoOn;
        case State::AfterValue:
            if (!isFirstToken_)
                return Step::Fail;
            SetScalar(root_, token);
            return Step::Done;
        case State::Colon:
            break;
    }
    return Step::Fail;
}

}  // namespace

bool ParseJson(const string& text, JsonNode& root) {
    string decoded;
    const char* const input = DecodeUnicodeEscapes(text, decoded) ? decoded.c_str() : text.c_str();
    root.parent = nullptr;
    return Parser(root).Parse(input);
}

}  // namespace json
