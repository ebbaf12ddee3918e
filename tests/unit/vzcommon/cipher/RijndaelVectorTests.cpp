#include "CipherBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <map>
#include <utility>

using namespace CipherTest;
using namespace VzCommon::Cryptograph;

namespace
{

// One numbered entry of a response file. Texts of one-bit CFB are bits; here they are padded to whole blocks.
struct Record
{
    bool encrypt = false;
    Bytes key;
    Bytes iv;
    Bytes plain;
    Bytes ciphered;
    std::size_t bits = 0; // of the texts
};

Bytes PackBits(const std::string& bits)
{
    Bytes packed((bits.size() + 7) / 8);
    for (std::size_t at = 0; at < bits.size(); ++at)
    {
        EXPECT_TRUE(bits[at] == '0' || bits[at] == '1') << bits;
        packed[at / 8] = static_cast<std::uint8_t>(packed[at / 8] | (bits[at] - '0') << (7 - at % 8));
    }
    return packed;
}

void FillBlock(Bytes& bytes)
{
    bytes.resize((bytes.size() + BlockSize - 1) / BlockSize * BlockSize);
}

Record MakeRecord(bool encrypt, const std::map<std::string, std::string>& fields, CipherMode mode)
{
    const bool inBits = mode == CipherMode::Cfb;
    Record record;
    record.encrypt = encrypt;
    record.key = FromHex(fields.at("KEY"));
    record.iv = mode == CipherMode::Ecb ? Bytes() : FromHex(fields.at("IV"));
    record.plain = inBits ? PackBits(fields.at("PLAINTEXT")) : FromHex(fields.at("PLAINTEXT"));
    record.ciphered = inBits ? PackBits(fields.at("CIPHERTEXT")) : FromHex(fields.at("CIPHERTEXT"));
    record.bits = fields.at("PLAINTEXT").size() * (inBits ? 1 : 4);
    FillBlock(record.plain);
    FillBlock(record.ciphered);
    return record;
}

std::vector<Record> ReadRecords(const std::string& path, CipherMode mode)
{
    std::vector<Record> records;
    std::ifstream file(path);
    EXPECT_TRUE(file.is_open()) << path;
    bool encrypt = false;
    std::map<std::string, std::string> fields;
    for (std::string line; std::getline(file, line);)
    {
        line.erase(std::find(line.begin(), line.end(), '\r'), line.end());
        if (line.starts_with('['))
        {
            encrypt = line == "[ENCRYPT]";
        }
        else if (const std::size_t equals = line.find(" = "); equals != std::string::npos && line[0] != '#')
        {
            fields[line.substr(0, equals)] = line.substr(equals + 3);
        }
        if (fields.contains("PLAINTEXT") && fields.contains("CIPHERTEXT"))
        {
            records.push_back(MakeRecord(encrypt, fields, mode));
            fields.clear();
        }
    }
    return records;
}

Bytes FirstBits(Bytes bytes, std::size_t bits)
{
    bytes.resize((bits + 7) / 8);
    if (bits % 8 != 0)
    {
        bytes.back() = static_cast<std::uint8_t>(bytes.back() & (0xFF00U >> (bits % 8)));
    }
    return bytes;
}

class RijndaelVectorTest : public testing::TestWithParam<Setting>
{
protected:
    void SetUp() override
    {
        if (!HasBackend(GetParam().backend))
        {
            GTEST_SKIP() << "this processor has no AES instructions";
        }
    }

    // Whole blocks, without padding. Deciphering is given a block more, which it then holds back.
    Bytes Transform(bool encrypt, const Bytes& key, const Bytes& iv, Bytes input)
    {
        const std::size_t length = input.size();
        input.resize(length + (encrypt ? 0 : BlockSize));
        Rijndael cipher(GetBackend(GetParam().backend));
        Bytes output(length);
        std::size_t count = 0;
        std::uint32_t error = 0;
        EXPECT_TRUE(cipher.Initialize(encrypt ? CipherDirection::Encrypt : CipherDirection::Decrypt,
                                      key.data(), key.size(), GetParam().mode, iv.data(), iv.size(), &error));
        EXPECT_TRUE(cipher.Update(input.data(), input.size(), output.data(), output.size(), &count, &error));
        EXPECT_EQ(count, length);
        return output;
    }

    void CheckFile(const std::string& name, std::size_t expectedRecords)
    {
        SCOPED_TRACE(name);
        const std::vector<Record> records = ReadRecords(name, GetParam().mode);
        EXPECT_EQ(records.size(), expectedRecords);
        for (const Record& record : records)
        {
            const Bytes& input = record.encrypt ? record.plain : record.ciphered;
            const Bytes& expected = record.encrypt ? record.ciphered : record.plain;
            const Bytes output = Transform(record.encrypt, record.key, record.iv, input);
            EXPECT_EQ(ToHex(FirstBits(output, record.bits)), ToHex(FirstBits(expected, record.bits)))
                << "key " << ToHex(record.key);
        }
    }

    static std::string ModeName()
    {
        constexpr std::array names = {"ECB", "CBC", "CFB1"};
        return names[static_cast<std::size_t>(GetParam().mode)];
    }

    static std::string PublishedFile(const std::string& kind)
    {
        const std::string folder = GetParam().mode == CipherMode::Cfb ? "CFB" : ModeName();
        return QX_CIPHER_VECTORS "/AES/" + folder + "/" + ModeName() + kind + KeyBits() + ".rsp";
    }

    static std::string KeyBits() { return std::to_string(GetParam().keyLength * 8); }
};

// The sizes of the published files by key length: each record stands there for both directions.
TEST_P(RijndaelVectorTest, GivesThePublishedKnownAnswers)
{
    const std::map<std::size_t, std::array<std::size_t, 2>> sizes = {
        {16, {14, 42}}, {24, {12, 48}}, {32, {10, 32}}};
    CheckFile(PublishedFile("GFSbox"), sizes.at(GetParam().keyLength)[0]);
    CheckFile(PublishedFile("KeySbox"), sizes.at(GetParam().keyLength)[1]);
    CheckFile(PublishedFile("VarKey"), GetParam().keyLength * 16);
    CheckFile(PublishedFile("VarTxt"), 256);
}

TEST_P(RijndaelVectorTest, GivesThePublishedAnswersForMessagesOfSeveralBlocks)
{
    CheckFile(PublishedFile("MMT"), 20);
}

// What a thousand steps of the Monte Carlo test end in, and what the next thousand start with.
struct Outcome
{
    Bytes result;
    Bytes keyChange;
    Bytes nextIv;
    Bytes nextText;
};

// AESAVS, 6.4. Texts of one-bit CFB are a single bit, the top one of a block.
class RijndaelMonteCarloTest : public RijndaelVectorTest
{
protected:
    static const Bytes& Given(const Record& record)
    {
        return record.encrypt ? record.plain : record.ciphered;
    }

    static const Bytes& Wanted(const Record& record)
    {
        return record.encrypt ? record.ciphered : record.plain;
    }

    Outcome Play(const Record& start)
    {
        switch (GetParam().mode)
        {
        case CipherMode::Ecb: return PlayEcb(start);
        case CipherMode::Cbc: return PlayCbc(start);
        default: return PlayCfb(start);
        }
    }

    void CheckSection(bool encrypt, const std::vector<Record>& records)
    {
        ASSERT_EQ(records.size(), 200U);
        const auto first =
            std::find_if(records.begin(), records.end(),
                         [encrypt](const Record& record) { return record.encrypt == encrypt; });
        Record own = *first;
        for (auto record = first; record != first + 100; ++record)
        {
            ASSERT_EQ(ToHex(own.key), ToHex(record->key));
            ASSERT_EQ(ToHex(own.iv), ToHex(record->iv));
            ASSERT_EQ(ToHex(Given(own)), ToHex(Given(*record)));
            const Outcome outcome = Play(own);
            ASSERT_EQ(ToHex(outcome.result), ToHex(Wanted(*record)));
            std::transform(own.key.begin(), own.key.end(), outcome.keyChange.begin(), own.key.begin(),
                           std::bit_xor<>());
            own.iv = outcome.nextIv;
            (encrypt ? own.plain : own.ciphered) = outcome.nextText;
        }
    }

private:
    Bytes LastOf(const Bytes& before, const Bytes& last) const
    {
        Bytes both = before;
        both.insert(both.end(), last.begin(), last.end());
        return {both.end() - static_cast<std::ptrdiff_t>(GetParam().keyLength), both.end()};
    }

    Outcome PlayEcb(const Record& start)
    {
        Bytes before;
        Bytes result = Given(start);
        for (int step = 0; step < 1000; ++step)
        {
            before = std::exchange(result, Transform(start.encrypt, start.key, start.iv, result));
        }
        return {result, LastOf(before, result), start.iv, result};
    }

    Outcome PlayCbc(const Record& start)
    {
        Bytes chain = start.iv;
        Bytes text = Given(start);
        Bytes before;
        Bytes result = start.iv;
        for (int step = 0; step < 1000; ++step)
        {
            before = std::exchange(result, Transform(start.encrypt, start.key, chain, text));
            chain = start.encrypt ? result : text;
            text = before;
        }
        return {result, LastOf(before, result), result, before};
    }

    // Each bit of input is the result of 129 steps before, the first ones those of the vector: so a whole
    // block is known at a time.
    Outcome PlayCfb(const Record& start)
    {
        Bytes chain = start.iv;
        std::string results = Unpack(start.iv);
        const std::string first = Unpack(Given(start)).substr(0, 1);
        while (results.size() < 128 + 1000)
        {
            const Bytes input = PackBits((first + results).substr(results.size() - 128, 128));
            const Bytes output = Transform(start.encrypt, start.key, chain, input);
            results += Unpack(output);
            chain = start.encrypt ? output : input;
        }
        results.resize(128 + 1000);
        Bytes result = PackBits(results.substr(results.size() - 1));
        Bytes next = PackBits(results.substr(results.size() - 129, 1));
        FillBlock(result);
        FillBlock(next);
        return {result, PackBits(results.substr(results.size() - GetParam().keyLength * 8)),
                PackBits(results.substr(results.size() - 128)), next};
    }

    static std::string Unpack(const Bytes& bytes)
    {
        std::string bits;
        for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit)
        {
            bits += (bytes[bit / 8] >> (7 - bit % 8) & 1) != 0 ? '1' : '0';
        }
        return bits;
    }
};

TEST_P(RijndaelMonteCarloTest, AgreesWithOpenSsl)
{
    const std::vector<Record> records =
        ReadRecords(QX_GENERATED_VECTORS "/" + ModeName() + "MCT" + KeyBits() + ".rsp", GetParam().mode);
    CheckSection(true, records);
    CheckSection(false, records);
}

INSTANTIATE_TEST_SUITE_P(All, RijndaelVectorTest, testing::ValuesIn(AllSettings()),
                         [](const auto& test) { return NameOf(test.param); });
INSTANTIATE_TEST_SUITE_P(All, RijndaelMonteCarloTest, testing::ValuesIn(AllSettings()),
                         [](const auto& test) { return NameOf(test.param); });

} // namespace
