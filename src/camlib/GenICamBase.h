// The GenICam string and exception classes that the camera library exports.
// They are defined inside that library; this file only declares them and knows nothing of the
// producer.
#pragma once

#include <cstddef>
#include <exception>

#if !defined(_WIN32)
#define OPTIVO_API __attribute__((visibility("default")))
#elif defined(OPTIVO_BUILD)
#define OPTIVO_API __declspec(dllexport)
#else
#define OPTIVO_API __declspec(dllimport)
#endif

namespace GenICam {

// A text of 8-bit characters, owned.
class OPTIVO_API gcstring {
public:
    // A zero-terminated wide text, converted to UTF-8 by the string that is made from it.
    class OPTIVO_API gcwchar {
    public:
        explicit gcwchar(const wchar_t* text);
        const wchar_t* c_str() const;

    private:
        const wchar_t* m_text;
    };

    gcstring();
    // A null pointer makes an empty string.
    gcstring(const char* text);
    gcstring(const gcwchar& text);
    gcstring(const gcstring& other);
    gcstring& operator=(const gcstring& other);
    virtual ~gcstring();

    const char* c_str() const;
    // The length in bytes, without the terminating zero.
    std::size_t length() const;

private:
    char* m_text; // owned
};

// A growable list of strings.
class OPTIVO_API gcstring_vector {
public:
    class const_iterator;

    class OPTIVO_API iterator {
    public:
        explicit iterator(gcstring* position = nullptr);
        iterator(const iterator& other);
        iterator& operator=(const iterator& other);
        ~iterator();
        gcstring& operator*() const;
        gcstring* operator->() const;
        iterator& operator++();
        bool operator==(const iterator& other) const;
        bool operator!=(const iterator& other) const;

    private:
        friend class const_iterator;
        gcstring* m_position;
    };

    class OPTIVO_API const_iterator {
    public:
        explicit const_iterator(const gcstring* position = nullptr);
        const_iterator(const iterator& other);
        const_iterator(const const_iterator& other);
        const_iterator& operator=(const const_iterator& other);
        ~const_iterator();
        const gcstring& operator*() const;
        const gcstring* operator->() const;
        const_iterator& operator++();
        bool operator==(const const_iterator& other) const;
        bool operator!=(const const_iterator& other) const;

    private:
        const gcstring* m_position;
    };

    gcstring_vector();
    gcstring_vector(const gcstring_vector& other);
    gcstring_vector& operator=(const gcstring_vector& other);
    virtual ~gcstring_vector();

    void push_back(const gcstring& text);
    void clear();
    std::size_t size() const;
    gcstring& operator[](std::size_t index);
    const gcstring& operator[](std::size_t index) const;
    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;

private:
    struct Storage;
    Storage* m_storage; // owned
};

// The root of the exceptions that cross the camera library's boundary.
class OPTIVO_API GenericException : public std::exception {
public:
    GenericException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType);
    GenericException(const GenericException& other);
    GenericException& operator=(const GenericException& other);
    ~GenericException() noexcept override;

    // Type, description and source position in one text.
    const char* what() const noexcept override;
    const char* GetDescription() const noexcept;
    const char* GetSourceFileName() const noexcept;
    unsigned int GetSourceLine() const noexcept;

private:
    struct Details;
    Details* m_details; // owned
};

class OPTIVO_API BadAllocException : public GenericException {
public:
    BadAllocException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                      const char* exceptionType);
    BadAllocException(const BadAllocException& other);
    BadAllocException& operator=(const BadAllocException& other);
    ~BadAllocException() noexcept override;
};

class OPTIVO_API InvalidArgumentException : public GenericException {
public:
    InvalidArgumentException(const char* description, const char* sourceFileName,
                             unsigned int sourceLine, const char* exceptionType);
    InvalidArgumentException(const InvalidArgumentException& other);
    InvalidArgumentException& operator=(const InvalidArgumentException& other);
    ~InvalidArgumentException() noexcept override;
};

class OPTIVO_API OutOfRangeException : public GenericException {
public:
    OutOfRangeException(const char* description, const char* sourceFileName,
                        unsigned int sourceLine, const char* exceptionType);
    OutOfRangeException(const OutOfRangeException& other);
    OutOfRangeException& operator=(const OutOfRangeException& other);
    ~OutOfRangeException() noexcept override;
};

class OPTIVO_API PropertyException : public GenericException {
public:
    PropertyException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                      const char* exceptionType);
    PropertyException(const PropertyException& other);
    PropertyException& operator=(const PropertyException& other);
    ~PropertyException() noexcept override;
};

class OPTIVO_API RuntimeException : public GenericException {
public:
    RuntimeException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType);
    RuntimeException(const RuntimeException& other);
    RuntimeException& operator=(const RuntimeException& other);
    ~RuntimeException() noexcept override;
};

class OPTIVO_API LogicalErrorException : public GenericException {
public:
    LogicalErrorException(const char* description, const char* sourceFileName,
                          unsigned int sourceLine, const char* exceptionType);
    LogicalErrorException(const LogicalErrorException& other);
    LogicalErrorException& operator=(const LogicalErrorException& other);
    ~LogicalErrorException() noexcept override;
};

class OPTIVO_API AccessException : public GenericException {
public:
    AccessException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                    const char* exceptionType);
    AccessException(const AccessException& other);
    AccessException& operator=(const AccessException& other);
    ~AccessException() noexcept override;
};

class OPTIVO_API TimeoutException : public GenericException {
public:
    TimeoutException(const char* description, const char* sourceFileName, unsigned int sourceLine,
                     const char* exceptionType);
    TimeoutException(const TimeoutException& other);
    TimeoutException& operator=(const TimeoutException& other);
    ~TimeoutException() noexcept override;
};

class OPTIVO_API DynamicCastException : public GenericException {
public:
    DynamicCastException(const char* description, const char* sourceFileName,
                         unsigned int sourceLine, const char* exceptionType);
    DynamicCastException(const DynamicCastException& other);
    DynamicCastException& operator=(const DynamicCastException& other);
    ~DynamicCastException() noexcept override;
};

} // namespace GenICam
