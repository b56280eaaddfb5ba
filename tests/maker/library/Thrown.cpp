#include "Thrown.h"

// As Visual C++'s runtime has them: their names, their tables (destructor, what), and their copied
// text.
namespace std {

class exception {
public:
    exception() = default;
    explicit exception(const char* text) : m_text(Copied(text)), m_isOwned(true) {}
    exception(const exception& other)
        : m_text(other.m_isOwned ? Copied(other.m_text) : other.m_text),
          m_isOwned(other.m_isOwned),
          m_counted(other.m_counted) {}
    exception& operator=(const exception&) = delete;
    virtual ~exception() {
        if (m_isOwned) {
            operator delete(const_cast<char*>(m_text));
        }
    }
    virtual const char* what() const { return m_text != nullptr ? m_text : "Unknown exception"; }

private:
    static const char* Copied(const char* text) {
        const Maker::Size size = Maker::Length(text) + 1;
        char* const copy = static_cast<char*>(operator new(size));
        Maker::Copy(copy, text, size);
        return copy;
    }

    const char* m_text = nullptr;
    bool m_isOwned = false;
    Maker::CCounted<MAKER_EXCEPTIONS> m_counted;
};

class runtime_error : public exception {
public:
    explicit runtime_error(const char* text) : exception(text) {}
};

} // namespace std

namespace Maker {

// The library holds the names of these types, which depend on the folder of the build where their
// namespace has no name.

// Derives from nothing that anybody knows.
class CTrouble {
public:
    explicit CTrouble(int code) : m_code(code) {}
    CTrouble(const CTrouble&) = default;
    ~CTrouble() { m_code = 0; }

private:
    int m_code;
    CCounted<MAKER_EXCEPTIONS> m_counted;
};

class CSource {
public:
    virtual ~CSource() = default;
    UInt64 m_line = 42;
};

class CDeviceError : public CSource, public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class COddity : public std::exception {
public:
    COddity() : exception("An exception that is no runtime error") {}
};

namespace {

long long g_made[MAKER_NUM_KINDS];
long long g_gone[MAKER_NUM_KINDS];

void Throw(MakerMishap mishap) {
    const CLocal inner;
    switch (mishap) {
    case MAKER_THROWS_INT:
        throw 7;
    case MAKER_THROWS_RUNTIME_ERROR:
        throw std::runtime_error(MAKER_TEXT);
    case MAKER_THROWS_DERIVED_ERROR:
        throw CDeviceError(MAKER_TEXT);
    case MAKER_THROWS_EXCEPTION:
        throw COddity();
    default:
        throw CTrouble(-1001);
    }
}

void Rethrow() {
    const CLocal outer;
    try {
        Throw(MAKER_THROWS_CLASS);
    } catch (const CTrouble&) {
        const CLocal handling;
        throw;
    }
}

} // namespace

void CountMade(MakerKind kind) {
    __atomic_fetch_add(&g_made[kind], 1, __ATOMIC_SEQ_CST);
}

void CountGone(MakerKind kind) {
    __atomic_fetch_add(&g_gone[kind], 1, __ATOMIC_SEQ_CST);
}

void Suffer(MakerMishap mishap) {
    const CLocal outer;
    switch (mishap) {
    case MAKER_ANSWERS:
        return;
    case MAKER_RETHROWS:
        Rethrow();
        return;
    case MAKER_CRASHES:
        *reinterpret_cast<volatile int*>(16) = 1;
        return;
    default:
        Throw(mishap);
    }
}

} // namespace Maker

using namespace Maker;

unsigned long long Maker_NumMade(MakerKind kind) {
    return static_cast<UInt64>(__atomic_load_n(&g_made[kind], __ATOMIC_SEQ_CST));
}

unsigned long long Maker_NumGone(MakerKind kind) {
    return static_cast<UInt64>(__atomic_load_n(&g_gone[kind], __ATOMIC_SEQ_CST));
}
