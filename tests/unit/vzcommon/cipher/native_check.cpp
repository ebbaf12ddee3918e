// Runs the cipher's portable sources under the host's sanitizers: random messages through both backends, in
// random pieces and through buffers that are exactly as large as told, and random text through the hex
// reader. Built and run by native_check.sh; prints what differs.

#include "VzComn_HexText.h"
#include "VzComn_Rijndael.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace VzCommon::Cryptograph;

namespace
{

using Bytes = std::vector<std::uint8_t>;

struct Task
{
    CipherDirection direction;
    CipherMode mode;
    Bytes key;
    Bytes iv;
    Bytes input;
};

class Random
{
public:
    explicit Random(unsigned seed) : m_engine(seed) {}

    std::size_t Below(std::size_t limit) { return m_engine() % limit; }

    Bytes Some(std::size_t count)
    {
        Bytes bytes(count);
        std::generate(bytes.begin(), bytes.end(),
                      [this] { return static_cast<std::uint8_t>(m_engine() >> 24); });
        bytes.shrink_to_fit();
        return bytes;
    }

private:
    std::mt19937 m_engine;
};

void Require(bool condition, const char* what)
{
    if (!condition)
    {
        std::fprintf(stderr, "native check: %s\n", what);
        std::exit(EXIT_FAILURE);
    }
}

Bytes InOneCall(const Task& task, const RijndaelBackend& backend)
{
    Rijndael cipher(backend);
    Require(cipher.Initialize(task.direction, task.key.data(), task.key.size(), task.mode, task.iv.data(),
                              task.iv.size(), nullptr),
            "Initialize failed");
    const bool encrypt = task.direction == CipherDirection::Encrypt;
    Bytes output((task.input.size() / 16 + (encrypt ? 1 : 0)) * 16);
    std::size_t count = 0;
    Require(
        cipher.Convert(task.input.data(), task.input.size(), output.data(), output.size(), &count, nullptr),
        "Convert failed");
    output.resize(count);
    return output;
}

// Every call has a buffer of a random size, too small ones included; after a refusal it gets a larger one.
Bytes InPieces(const Task& task, const RijndaelBackend& backend, Random& random)
{
    Rijndael cipher(backend);
    cipher.Initialize(task.direction, task.key.data(), task.key.size(), task.mode, task.iv.data(),
                      task.iv.size(), nullptr);
    Bytes output;
    std::size_t at = 0;
    for (bool last = false; !last;)
    {
        last = at == task.input.size();
        const Bytes piece = {task.input.begin() + static_cast<std::ptrdiff_t>(at),
                             task.input.begin() +
                                 static_cast<std::ptrdiff_t>(at + random.Below(task.input.size() - at + 1))};
        std::size_t count = 0;
        std::uint32_t error = CipherError::OutputTooSmall;
        for (std::size_t room = random.Below(piece.size() + 1); error != 0; room += 16)
        {
            const std::unique_ptr<std::uint8_t[]> buffer(new std::uint8_t[room]);
            cipher.Update(piece.data(), piece.size(), buffer.get(), room, &count, &error);
            Require(error == 0 || error == CipherError::OutputTooSmall, "Update failed");
            output.insert(output.end(), buffer.get(), buffer.get() + count);
        }
        at += piece.size();
    }
    const std::unique_ptr<std::uint8_t[]> buffer(new std::uint8_t[16]);
    std::size_t count = 0;
    Require(cipher.Finish(buffer.get(), 16, &count, nullptr), "Finish failed");
    output.insert(output.end(), buffer.get(), buffer.get() + count);
    return output;
}

void CheckCipher(Random& random)
{
    const CipherMode mode = static_cast<CipherMode>(random.Below(3));
    const Task task{static_cast<CipherDirection>(random.Below(2)), mode,
                    random.Some(16 + 8 * random.Below(3)), random.Some(16),
                    random.Some(random.Below(mode == CipherMode::Cfb ? 64 : 700))};
    const Bytes expected = InOneCall(task, RijndaelTableBackend());
    Require(InPieces(task, RijndaelTableBackend(), random) == expected, "pieces differ on the tables");
    Require(InOneCall(task, BestRijndaelBackend()) == expected, "the backends differ");
    Require(InPieces(task, BestRijndaelBackend(), random) == expected, "pieces differ on the best backend");
}

void CheckHexText(Random& random)
{
    static constexpr char Alphabet[] = "0123456789abcdefABCDEF 0123456789+-xg\n";
    const std::size_t length = random.Below(40);
    const std::unique_ptr<char[]> text(new char[length]);
    std::generate_n(text.get(), length, [&random] { return Alphabet[random.Below(sizeof(Alphabet))]; });
    const std::size_t count = random.Below(25);
    const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[count]);
    VzCommon::DecodeHexPairs({text.get(), length}, bytes.get(), count);
    for (std::size_t pair = 0; pair < count; ++pair)
    {
        char digits[3] = {};
        std::memcpy(digits, text.get() + std::min(2 * pair, length),
                    std::min<std::size_t>(2, length - std::min(2 * pair, length)));
        Require(bytes[pair] == static_cast<std::uint8_t>(std::strtol(digits, nullptr, 16)), "a pair differs");
    }
}

} // namespace

int main(int argc, char** argv)
{
    Random random(argc > 1 ? static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10)) : 1);
    for (int round = 0; round < 4000; ++round)
    {
        CheckCipher(random);
        CheckHexText(random);
    }
    std::puts("native check: no difference");
    return EXIT_SUCCESS;
}
