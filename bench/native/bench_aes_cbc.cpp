// How fast is the product's deciphering beside OpenSSL's? AES in CBC mode, 16 MB by default, each contender
// once a round so that all meet the same machine; the best round counts.
//
//   bench_aes_cbc [megabytes [rounds]]

#include "VzComn_Rijndael.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace VzCommon::Cryptograph;

namespace
{

using Bytes = std::vector<std::uint8_t>;

struct Message
{
    Bytes key;
    Bytes iv = Bytes(Rijndael::BlockSize);
    Bytes ciphered;
};

struct Contender
{
    std::string name;
    std::function<bool(const Message&, Bytes&)> decipher;
    double bestSeconds = std::numeric_limits<double>::infinity();
};

Bytes RandomBytes(std::size_t count, std::mt19937_64& random)
{
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<std::uint8_t>(random()); });
    return bytes;
}

bool DecipherWith(const RijndaelBackend& backend, const Message& message, Bytes& plain)
{
    Rijndael cipher(backend);
    std::size_t count = 0;
    std::uint32_t error = 0;
    return cipher.Initialize(CipherDirection::Decrypt, message.key.data(), message.key.size(),
                             CipherMode::Cbc, message.iv.data(), message.iv.size(), &error) &&
           cipher.Convert(message.ciphered.data(), message.ciphered.size(), plain.data(), plain.size(),
                          &count, &error);
}

bool DecipherWithOpenSsl(const Message& message, Bytes& plain)
{
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(),
                                                                                  &EVP_CIPHER_CTX_free);
    const EVP_CIPHER* const cipher = message.key.size() == 16 ? EVP_aes_128_cbc() : EVP_aes_256_cbc();
    int updated = 0;
    int last = 0;
    // Padding stays off: the message is random, and OpenSSL would refuse it at its end.
    return EVP_DecryptInit_ex(context.get(), cipher, nullptr, message.key.data(), message.iv.data()) == 1 &&
           EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
           EVP_DecryptUpdate(context.get(), plain.data(), &updated, message.ciphered.data(),
                             static_cast<int>(message.ciphered.size())) == 1 &&
           EVP_DecryptFinal_ex(context.get(), plain.data() + updated, &last) == 1;
}

std::vector<Contender> MakeContenders()
{
    std::vector<Contender> contenders;
    contenders.push_back({"OpenSSL", DecipherWithOpenSsl});
    if (const RijndaelBackend* const instructions = RijndaelInstructionBackend(); instructions != nullptr)
    {
        contenders.push_back({"AES instructions", [instructions](const Message& message, Bytes& plain)
                              { return DecipherWith(*instructions, message, plain); }});
    }
    contenders.push_back({"lookup tables", [](const Message& message, Bytes& plain)
                          { return DecipherWith(RijndaelTableBackend(), message, plain); }});
    return contenders;
}

// The last block of a random message may look padded, and would then lose its end.
bool SameButLastBlock(const Bytes& left, const Bytes& right)
{
    return std::equal(left.begin(), left.end() - Rijndael::BlockSize, right.begin());
}

void RunRound(std::vector<Contender>& contenders, const Message& message, const Bytes& expected)
{
    Bytes plain(message.ciphered.size());
    for (Contender& contender : contenders)
    {
        const auto start = std::chrono::steady_clock::now();
        const bool done = contender.decipher(message, plain);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        if (!done || !SameButLastBlock(plain, expected))
        {
            std::fprintf(stderr, "%s: wrong result\n", contender.name.c_str());
            std::exit(EXIT_FAILURE);
        }
        contender.bestSeconds = std::min(contender.bestSeconds, elapsed.count());
    }
}

void Report(const std::vector<Contender>& contenders, const Message& message)
{
    std::printf("AES-%zu-CBC, deciphering %zu MB\n", message.key.size() * 8, message.ciphered.size() >> 20);
    for (const Contender& contender : contenders)
    {
        const double megabytes = static_cast<double>(message.ciphered.size()) / 1e6;
        std::printf("  %-18s %8.0f MB/s   %5.2f of OpenSSL\n", contender.name.c_str(),
                    megabytes / contender.bestSeconds,
                    contenders.front().bestSeconds / contender.bestSeconds);
    }
}

std::string ProcessorName()
{
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);)
    {
        if (line.rfind("model name", 0) == 0)
        {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t megabytes = argc > 1 ? std::max(1UL, std::strtoul(argv[1], nullptr, 10)) : 16;
    const unsigned long rounds = argc > 2 ? std::max(1UL, std::strtoul(argv[2], nullptr, 10)) : 60;
    std::printf("%s; %s; best of %lu rounds\n", ProcessorName().c_str(), OpenSSL_version(OPENSSL_VERSION),
                rounds);

    std::mt19937_64 random(20);
    for (const std::size_t keyLength : {16U, 32U})
    {
        Message message;
        message.key = RandomBytes(keyLength, random);
        message.ciphered = RandomBytes(megabytes << 20, random);
        Bytes expected(message.ciphered.size());
        if (!DecipherWithOpenSsl(message, expected))
        {
            return EXIT_FAILURE;
        }
        std::vector<Contender> contenders = MakeContenders();
        for (unsigned long round = 0; round < rounds; ++round)
        {
            RunRound(contenders, message, expected);
        }
        Report(contenders, message);
    }
    return EXIT_SUCCESS;
}
