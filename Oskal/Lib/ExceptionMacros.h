#pragma once

// The members every exception class of the library has, written once. Each class keeps its own
// header and source file; the destructor is defined out of line in that source file, so that
// the class's vtable and type information live in the DLL (the key function) and a catch in a
// program matches what the DLL throws.

// Copy constructor and destructor: for classes that add state and spell out their other
// constructors themselves.
#define OSKAL_DECLARE_EXCEPTION_COPY(Class)                                                                            \
    Class(const Class& other);                                                                                         \
    ~Class() override;

#define OSKAL_IMPLEMENT_EXCEPTION_COPY(Class)                                                                          \
    Class::Class(const Class& other) = default;                                                                        \
    Class::~Class() {}

// The whole set: an empty message, a message, copy, destructor. Place under public:.
#define OSKAL_DECLARE_EXCEPTION(Class)                                                                                 \
    Class();                                                                                                           \
    explicit Class(const wchar_t* pszMessage);                                                                         \
    OSKAL_DECLARE_EXCEPTION_COPY(Class)

#define OSKAL_IMPLEMENT_EXCEPTION(Class, Base)                                                                         \
    Class::Class() {}                                                                                                  \
    Class::Class(const wchar_t* pszMessage) : Base(pszMessage) {}                                                      \
    OSKAL_IMPLEMENT_EXCEPTION_COPY(Class)
