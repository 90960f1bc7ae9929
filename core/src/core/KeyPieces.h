// The constant data that Cryptographer builds its key texts from.
//
// The texts never lie whole in the binary: they are cut into pieces of 8 or 16 bytes that stand in one pool
// in no order. Which pieces make a text, and in which order, is data as well. Both live in a source file of
// their own, so that the compiler can't put the texts together again.
//
// KeyPieces.cpp is made by tools/keypieces and is never made anew: the texts are the pass phrase of every
// file that a client has written.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillmarkclient_core {

struct KeyPiece {
    std::uint16_t offset;  // into the pool
    std::uint16_t size;    // bytes that belong to the text: 8 or 16, fewer in the last piece
};

struct KeyText {
    const KeyPiece* pieces;
    std::size_t pieceCount;
};

inline constexpr std::size_t kLongestKeyText = 450;

extern const unsigned char kKeyPiecePool[];
// Index 0 holds the first pair's text, 1 the alternate pair's.
extern const KeyText kLongKeyTexts[2];   // 450 characters, 2048-bit RSA
extern const KeyText kShortKeyTexts[2];  // 112 characters, 120-bit RSA

}  // namespace quillmarkclient_core
