// Makes core/src/core/KeyPieces.cpp: two pairs of RSA public keys as PEM texts, cut into pieces in no order.
//
//   quillmark_keypieces | clang-format > core/src/core/KeyPieces.cpp
//
// Run once, when the library was founded. Running it again makes other keys, and no client could read the
// files it has written; a test pins the texts. The private halves end with this program: nothing needs them.
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr unsigned kLongBits = 2048;
constexpr int kShortPrimeBits = 60;
constexpr std::size_t kLongLength = 450;   // characters
constexpr std::size_t kShortLength = 112;  // characters
constexpr unsigned long kExponent = 65537;

template <auto Function>
struct Deleter {
    template <class T>
    void operator()(T* object) const {
        Function(object);
    }
};
using Bio = std::unique_ptr<BIO, Deleter<BIO_free_all>>;
using Number = std::unique_ptr<BIGNUM, Deleter<BN_clear_free>>;
using NumberContext = std::unique_ptr<BN_CTX, Deleter<BN_CTX_free>>;
using ParamBuilder = std::unique_ptr<OSSL_PARAM_BLD, Deleter<OSSL_PARAM_BLD_free>>;
using Params = std::unique_ptr<OSSL_PARAM, Deleter<OSSL_PARAM_free>>;
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Deleter<EVP_PKEY_CTX_free>>;

void Require(bool condition, const char* what) {
    if (!condition)
        throw std::runtime_error(what);
}

// The public half as PEM, without the line feed behind the last line.
std::string PublicPem(const Key& key, std::size_t length) {
    const Bio memory(BIO_new(BIO_s_mem()));
    Require(memory && PEM_write_bio_PUBKEY(memory.get(), key.get()) == 1, "PEM");
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &data);
    std::string text(data, static_cast<std::size_t>(size));
    Require(!text.empty() && text.back() == '\n', "no final line feed");
    text.pop_back();
    Require(text.size() == length, "unexpected length");
    return text;
}

std::string MakeLongText() {
    const Key key(EVP_RSA_gen(kLongBits));
    Require(key != nullptr, "RSA generator");
    return PublicPem(key, kLongLength);
}

// The generator refuses keys this small, so the modulus is multiplied here. Primes with both top bits set
// give a product of exactly twice their bits.
std::string MakeShortText() {
    const Number p(BN_new());
    const Number q(BN_new());
    const Number modulus(BN_new());
    const Number exponent(BN_new());
    const NumberContext scratch(BN_CTX_new());
    Require(p && q && modulus && exponent && scratch, "BIGNUM");
    Require(BN_generate_prime_ex(p.get(), kShortPrimeBits, 0, nullptr, nullptr, nullptr) == 1, "prime");
    Require(BN_generate_prime_ex(q.get(), kShortPrimeBits, 0, nullptr, nullptr, nullptr) == 1, "prime");
    Require(BN_cmp(p.get(), q.get()) != 0, "the primes are equal");
    Require(BN_mul(modulus.get(), p.get(), q.get(), scratch.get()) == 1, "product");
    Require(BN_num_bits(modulus.get()) == 2 * kShortPrimeBits, "modulus");
    Require(BN_set_word(exponent.get(), kExponent) == 1, "exponent");

    const ParamBuilder builder(OSSL_PARAM_BLD_new());
    Require(builder && OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_N, modulus.get()) == 1 &&
                OSSL_PARAM_BLD_push_BN(builder.get(), OSSL_PKEY_PARAM_RSA_E, exponent.get()) == 1,
            "parameters");
    const Params params(OSSL_PARAM_BLD_to_param(builder.get()));
    const KeyContext context(EVP_PKEY_CTX_new_from_name(nullptr, "RSA", nullptr));
    EVP_PKEY* made = nullptr;
    Require(params && context && EVP_PKEY_fromdata_init(context.get()) == 1 &&
                EVP_PKEY_fromdata(context.get(), &made, EVP_PKEY_PUBLIC_KEY, params.get()) == 1,
            "public key");
    return PublicPem(Key(made), kShortLength);
}

struct Piece {
    std::size_t text = 0;   // which of the four
    std::size_t place = 0;  // from the start of that text
    std::size_t used = 0;   // bytes of the text
    std::string bytes;      // 8 or 16, filled up behind the used ones
    std::size_t offset = 0;
};

using Random = std::mt19937;

std::vector<Piece> Cut(std::size_t number, const std::string& text, Random& random) {
    std::vector<Piece> pieces;
    for (std::size_t place = 0; place < text.size();) {
        const std::size_t size = random() % 3 == 0 ? 8 : 16;
        Piece piece;
        piece.text = number;
        piece.place = place;
        piece.used = std::min(size, text.size() - place);
        piece.bytes = text.substr(place, piece.used);
        while (piece.bytes.size() != 8 && piece.bytes.size() != 16)
            piece.bytes += static_cast<char>(random() & 0xFF);
        place += piece.used;
        pieces.push_back(piece);
    }
    return pieces;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// No line of any text lies whole in the pool, not even the short last ones of the keys.
bool HidesAllLines(const std::string& pool, const std::vector<std::string>& texts) {
    for (const auto& text : texts) {
        for (const auto& line : Lines(text)) {
            if (pool.find(line) != std::string::npos)
                return false;
        }
    }
    return true;
}

// Cuts and shuffles until every line is hidden. `pool` receives the bytes.
std::vector<Piece> Scatter(const std::vector<std::string>& texts, std::string& pool, Random& random) {
    for (;;) {
        std::vector<Piece> pieces;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            auto cut = Cut(i, texts[i], random);
            std::move(cut.begin(), cut.end(), std::back_inserter(pieces));
        }
        std::shuffle(pieces.begin(), pieces.end(), random);
        pool.clear();
        for (auto& piece : pieces) {
            piece.offset = pool.size();
            pool += piece.bytes;
        }
        if (HidesAllLines(pool, texts))
            return pieces;
    }
}

void PrintPool(const std::string& pool) {
    std::printf("const unsigned char kKeyPiecePool[] = {\n");
    for (std::size_t i = 0; i < pool.size(); ++i)
        std::printf("0x%02X,%s", static_cast<unsigned char>(pool[i]), i % 16 == 15 ? "\n" : "");
    std::printf("};\n\n");
}

void PrintOrder(const char* name, std::size_t text, std::vector<Piece> pieces) {
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) { return a.place < b.place; });
    std::printf("constexpr KeyPiece %s[] = {\n", name);
    for (const auto& piece : pieces) {
        if (piece.text == text)
            std::printf("{%zu, %zu},", piece.offset, piece.used);
    }
    std::printf("};\n");
}

void PrintSource(const std::string& pool, const std::vector<Piece>& pieces) {
    std::printf(
        "// Made by tools/keypieces. Never edited and never made anew: client files depend on it.\n"
        "#include \"core/src/core/KeyPieces.h\"\n\n"
        "namespace quillmarkclient_core {\n\n");
    PrintPool(pool);
    std::printf("namespace {\n\n");
    const char* const names[] = {"kLong", "kShort", "kAlternateLong", "kAlternateShort"};
    for (std::size_t i = 0; i < std::size(names); ++i)
        PrintOrder(names[i], i, pieces);
    std::printf(
        "\ntemplate <std::size_t N>\nconstexpr KeyText Whole(const KeyPiece (&pieces)[N]) {\nreturn {pieces, "
        "N};\n}\n\n"
        "}  // namespace\n\n"
        "const KeyText kLongKeyTexts[2] = {Whole(kLong), Whole(kAlternateLong)};\n"
        "const KeyText kShortKeyTexts[2] = {Whole(kShort), Whole(kAlternateShort)};\n\n"
        "}  // namespace quillmarkclient_core\n");
}

}  // namespace

int main() {
    try {
        Random random(std::random_device{}());
        const std::vector<std::string> texts = {MakeLongText(), MakeShortText(), MakeLongText(),
                                                MakeShortText()};
        std::string pool;
        const std::vector<Piece> pieces = Scatter(texts, pool, random);
        PrintSource(pool, pieces);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "quillmark_keypieces: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
