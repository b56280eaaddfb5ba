// Defines, reads and writes registers at random, beside a model that knows a register map by what
// its owner was promised. Both must end alike, hold the same and call back in the same order.
#include "Demand.h"
#include "RegisterModel.h"

#include "core/Errors.h"
#include "core/RegisterMap.h"

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using GenICam::Client::access_error;
using GenICam::Client::CRegisterMap;

// How a call of a map or of the model ended.
enum class EKind { Fine, InvalidArgument, OutOfRange, Access };
struct Outcome {
    EKind kind = EKind::Fine;
    std::string text;
};

Outcome OutcomeOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const access_error& error) {
        return {EKind::Access, error.what()};
    } catch (const std::invalid_argument& error) {
        return {EKind::InvalidArgument, error.what()};
    } catch (const std::out_of_range& error) {
        return {EKind::OutOfRange, error.what()};
    }
    return {};
}

// Of the map's callbacks, which are plain functions.
std::vector<Notice> g_notices;

void OnRead(std::uint64_t address, std::uint32_t* value, std::uint64_t context) {
    g_notices.push_back({'r', address, *value, context});
    *value = Changed(*value, context);
}

void OnWrite(std::uint64_t address, std::uint32_t* value, std::uint64_t context) {
    g_notices.push_back({'w', address, *value, context});
    *value = Changed(*value, context);
}

CRegisterMap::Callback WriterOf(const Definition& definition) {
    return definition.hasOnWrite ? OnWrite : nullptr;
}

CRegisterMap::Callback ReaderOf(const Definition& definition) {
    return definition.hasOnRead ? OnRead : nullptr;
}

// One map, its model, and what is done to both.
class CWalk {
public:
    explicit CWalk(Bytes& bytes)
        : m_bytes(bytes), m_map(bytes.ConsumeIntegralInRange<std::size_t>(0, 40)) {}

    void Go() {
        for (int left = 200; left > 0 && m_bytes.remaining_bytes() > 0; --left) {
            static constexpr void (CWalk::*OPERATIONS[])() = {
                &CWalk::Define,       &CWalk::Define64,   &CWalk::DefineText,
                &CWalk::DefineBlock,  &CWalk::Read,       &CWalk::Write,
                &CWalk::ReadBlock,    &CWalk::WriteBlock, &CWalk::RawReadBlock,
                &CWalk::RawWrite,     &CWalk::SetValue,   &CWalk::SetValue64,
                &CWalk::ValueOf64,    &CWalk::SetAccess,  &CWalk::SetMarker,
                &CWalk::SetCallbacks, &CWalk::WriteText,  &CWalk::AskWithoutRegister};
            (this->*m_bytes.PickValueInArray(OPERATIONS))();
            Demand(g_notices == m_model.Notices(), "callbacks are called as defined");
            CompareAll();
        }
    }

private:
    // Both must end alike.
    void Both(const std::function<void()>& onMap, const std::function<void()>& onModel) {
        const Outcome found = OutcomeOf(onMap);
        const Outcome expected = OutcomeOf(onModel);
        DemandEqual(found.text, expected.text, "texts of failures agree");
        Demand(found.kind == expected.kind, "kinds of failures agree");
    }

    void CompareAll() {
        for (const auto& [address, entry] : m_model.Entries()) {
            DemandEqual(m_map.AccessOf(address), entry.definition.access, "modes agree");
            DemandEqual(m_map.ValueOf(address), entry.value, "values agree");
            DemandEqual(m_map.MarkerOf(address), entry.definition.marker, "markers agree");
            if (!m_model.Has(address + 4)) {
                DemandEqual(m_map.AccessOf(address + 4), 0U, "nothing else is defined");
            }
        }
    }

    std::uint64_t Address() {
        static constexpr std::uint64_t ODD[] = {0xFFFFFFFFFFFFFFFF,
                                                0xFFFFFFFFFFFFFFFC,
                                                0x1999999999999998,
                                                0x1999999999999999,
                                                0x199999999999999C,
                                                0x8000000000000000,
                                                1,
                                                2,
                                                3,
                                                0x4002};
        return m_bytes.ConsumeIntegralInRange(0, 15) == 0 ? m_bytes.PickValueInArray(ODD) : Near();
    }

    // An address that may be defined without gigabytes of slots, unless it is refused.
    std::uint64_t Definable() {
        const std::uint64_t address = Address();
        return address == 0x1999999999999998 ? address + 4 : address;
    }

    std::uint64_t Near() { return m_bytes.ConsumeIntegralInRange<std::uint64_t>(0, 63) * 4; }

    // In whole words, mostly.
    std::size_t Size() {
        const std::size_t size = m_bytes.ConsumeIntegralInRange<std::size_t>(0, 12) * 4;
        return m_bytes.ConsumeIntegralInRange(0, 15) == 0 ? size + 2 : size;
    }

    Definition NewDefinition() {
        Definition definition{};
        definition.access = m_bytes.ConsumeIntegralInRange<std::uint32_t>(0, 15) % 5;
        definition.marker = m_bytes.ConsumeIntegral<std::uint8_t>();
        definition.hasOnWrite = m_bytes.ConsumeBool();
        definition.hasOnRead = m_bytes.ConsumeBool();
        definition.context = m_bytes.ConsumeIntegral<std::uint64_t>();
        return definition;
    }

    void Define() {
        const std::uint64_t address = Definable();
        const Definition d = NewDefinition();
        const auto value = m_bytes.ConsumeIntegral<std::uint32_t>();
        std::string content;
        Append(content, value);
        Both(
            [&] {
                m_map.Define(address, d.access, value, d.marker, WriterOf(d), d.context,
                             ReaderOf(d));
            },
            [&] { m_model.Define(address, d, content, 4); });
    }

    static std::string Joined(std::uint64_t value, bool lowWordFirst) {
        std::string content;
        const auto low = static_cast<std::uint32_t>(value & 0xFFFFFFFF);
        const auto high = static_cast<std::uint32_t>(value >> 32);
        Append(content, lowWordFirst ? low : high);
        Append(content, lowWordFirst ? high : low);
        return content;
    }

    void Define64() {
        const std::uint64_t address = Definable();
        const Definition d = NewDefinition();
        const auto value = m_bytes.ConsumeIntegral<std::uint64_t>();
        const bool lowFirst = m_bytes.ConsumeBool();
        Both(
            [&] {
                m_map.Define64(address, d.access, value, d.marker, lowFirst, WriterOf(d), d.context,
                               ReaderOf(d));
            },
            [&] { m_model.Define(address, d, Joined(value, lowFirst), 8); });
    }

    void DefineText() {
        const std::uint64_t address = Definable();
        const Definition d = NewDefinition();
        const std::size_t length = Size();
        const std::string text = TakeText(m_bytes, 60);
        Both(
            [&] {
                m_map.DefineString(address, d.access, text.c_str(), length, d.marker, WriterOf(d),
                                   d.context, ReaderOf(d));
            },
            [&] {
                m_model.Define(address, d, length == 0 ? "" : text.substr(0, length - 1), length);
            });
    }

    void DefineBlock() {
        const std::uint64_t address = Definable();
        const Definition d = NewDefinition();
        const std::size_t length = Size();
        std::string content = m_bytes.ConsumeBytesAsString(length);
        content.resize(length);
        const bool isNull = m_bytes.ConsumeBool();
        Both(
            [&] {
                m_map.DefineBlock(address, d.access, isNull ? nullptr : content.data(), length,
                                  d.marker, WriterOf(d), d.context, ReaderOf(d));
            },
            [&] { m_model.Define(address, d, isNull ? "" : content, length); });
    }

    void Read() {
        const std::uint64_t address = Address();
        std::uint32_t found = 77;
        std::uint32_t expected = 77;
        Both([&] { found = m_map.ReadRegister(address); },
             [&] { expected = m_model.Read(address); });
        DemandEqual(found, expected, "a register reads what it holds");
    }

    void Write() {
        const std::uint64_t address = Address();
        const auto value = m_bytes.ConsumeIntegral<std::uint32_t>();
        Both([&] { m_map.WriteRegister(address, value); }, [&] { m_model.Write(address, value); });
    }

    void ReadBytes(const std::function<void(std::uint64_t, void*, std::size_t)>& read,
                   const std::function<std::uint32_t(std::uint64_t)>& expect) {
        const std::uint64_t address = Address();
        const std::size_t size = Size();
        const bool isNull = m_bytes.ConsumeIntegralInRange(0, 15) == 0;
        std::string found(size + 4, '#');
        std::string expected = found;
        Both([&] { read(address, isNull ? nullptr : found.data(), size); },
             [&] {
                 CRegisterModel::CheckBuffer(address, isNull ? nullptr : this, size);
                 for (std::size_t offset = 0; offset < size; offset += 4) {
                     std::string word;
                     Append(word, expect(address + offset));
                     expected.replace(offset, 4, word);
                 }
             });
        Demand(found == expected, "a block reads what its registers hold, as far as it gets");
    }

    void ReadBlock() {
        ReadBytes([this](auto... to) { m_map.ReadBlock(to...); },
                  [this](std::uint64_t address) { return m_model.Read(address); });
    }

    void RawReadBlock() {
        ReadBytes([this](auto... to) { m_map.RawRead(to...); },
                  [this](std::uint64_t address) { return m_model.At(address).value; });
    }

    void WriteBytes(const std::function<void(std::uint64_t, const void*, std::size_t)>& write,
                    const std::function<void(std::uint64_t, std::uint32_t)>& expect) {
        const std::uint64_t address = Address();
        const std::size_t size = Size();
        const bool isNull = m_bytes.ConsumeIntegralInRange(0, 15) == 0;
        std::string content = m_bytes.ConsumeBytesAsString(size);
        content.resize(size);
        Both([&] { write(address, isNull ? nullptr : content.data(), size); },
             [&] {
                 CRegisterModel::CheckBuffer(address, isNull ? nullptr : this, size);
                 for (std::size_t offset = 0; offset < size; offset += 4) {
                     expect(address + offset, WordAt(content, offset));
                 }
             });
    }

    void WriteBlock() {
        WriteBytes([this](auto... from) { m_map.WriteBlock(from...); },
                   [this](auto... word) { m_model.Write(word...); });
    }

    void RawWrite() {
        WriteBytes([this](auto... from) { m_map.RawWrite(from...); },
                   [this](std::uint64_t address, std::uint32_t value) {
                       m_model.At(address).value = value;
                   });
    }

    void SetValue() {
        const std::uint64_t address = Address();
        const auto value = m_bytes.ConsumeIntegral<std::uint32_t>();
        Both([&] { m_map.SetValue(address, value); }, [&] { m_model.At(address).value = value; });
    }

    void SetValue64() {
        const std::uint64_t address = Address();
        const auto value = m_bytes.ConsumeIntegral<std::uint64_t>();
        const bool lowFirst = m_bytes.ConsumeBool();
        Both([&] { m_map.SetValue64(address, value, lowFirst); },
             [&] {
                 CRegisterModel::Entry& first = m_model.At(address);
                 CRegisterModel::Entry& second = m_model.At(address + 4);
                 const std::string content = Joined(value, lowFirst);
                 first.value = WordAt(content, 0);
                 second.value = WordAt(content, 4);
             });
    }

    void ValueOf64() {
        const std::uint64_t address = Address();
        const bool lowFirst = m_bytes.ConsumeBool();
        std::uint64_t found = 77;
        std::uint64_t expected = 77;
        Both([&] { found = m_map.ValueOf64(address, lowFirst); },
             [&] {
                 const std::uint64_t first = m_model.At(address).value;
                 const std::uint64_t second = m_model.At(address + 4).value;
                 expected = lowFirst ? first + second * 0x100000000 : second + first * 0x100000000;
             });
        DemandEqual(found, expected, "two registers make one number");
    }

    void SetAccess() {
        const std::uint64_t address = Address();
        const std::uint32_t access = m_bytes.ConsumeIntegralInRange<std::uint32_t>(0, 15) % 5;
        const bool bothWrong = !m_model.Has(address) && (access == 0 || access == 4);
        if (bothWrong) {
            Demand(OutcomeOf([&] { m_map.SetAccess(address, access); }).kind != EKind::Fine,
                   "an unknown mode of nothing is refused");
            return;
        }
        Both([&] { m_map.SetAccess(address, access); },
             [&] {
                 m_model.At(address);
                 CRegisterModel::CheckMode(access);
                 m_model.At(address).definition.access = access;
             });
    }

    void SetMarker() {
        const std::uint64_t address = Address();
        const auto marker = m_bytes.ConsumeIntegral<std::uint8_t>();
        Both([&] { m_map.SetMarker(address, marker); },
             [&] { m_model.At(address).definition.marker = marker; });
    }

    void SetCallbacks() {
        const std::uint64_t address = Address();
        const Definition d = NewDefinition();
        Both([&] { m_map.SetCallbacks(address, WriterOf(d), d.context, ReaderOf(d)); },
             [&] {
                 Definition& changed = m_model.At(address).definition;
                 changed.hasOnWrite = d.hasOnWrite;
                 changed.hasOnRead = d.hasOnRead;
                 changed.context = d.context;
             });
    }

    void WriteText() {
        const std::uint64_t address = Address();
        const std::string text = TakeText(m_bytes, 40);
        Both([&] { m_map.WriteString(address, text.c_str()); },
             [&] {
                 CRegisterModel::CheckAddress(address, 4);
                 for (std::size_t offset = 0; offset <= text.size(); offset += 4) {
                     m_model.At(address + offset).value = WordAt(text, offset);
                 }
             });
    }

    // Of the mode and the marker of nothing.
    void AskWithoutRegister() {
        const std::uint64_t address = Address();
        if (m_model.Has(address)) {
            return;
        }
        std::uint32_t access = 77;
        std::uint32_t marker = 77;
        Both([&] { access = m_map.AccessOf(address); },
             [&] {
                 CRegisterModel::CheckAddress(address, 4);
                 Demand(access == 0, "nothing has no mode");
             });
        Both([&] { marker = m_map.MarkerOf(address); },
             [&] {
                 CRegisterModel::CheckAddress(address, 4);
                 Demand(marker == 0, "nothing has no marker");
             });
    }

    Bytes& m_bytes;
    CRegisterMap m_map;
    CRegisterModel m_model;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    g_notices.clear();
    Bytes bytes(data, size);
    CWalk(bytes).Go();
    return 0;
}
