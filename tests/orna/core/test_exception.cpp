// The error table of the device library: every code raises its class with the exact message form.
#include "orna/core/exception.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <typeinfo>

namespace {

using namespace orna::core;

struct Row
{
    int code;
    const char* name;
    std::function<bool(const std::exception&)> isExpectedClass;
};

template <typename E> std::function<bool(const std::exception&)> Is()
{
    // Exact class, not merely a base: InternalErrorException must not satisfy NotFoundException's row.
    return [](const std::exception& e) { return typeid(e) == typeid(E); };
}

const Row kRows[] = {
    {1, "ORNA_RETURN_CODE_ERROR", Is<InternalErrorException>()},
    {2, "ORNA_RETURN_CODE_NOT_INITIALIZED", Is<NotInitializedException>()},
    {3, "ORNA_RETURN_CODE_ABORTED", Is<AbortedException>()},
    {4, "ORNA_RETURN_CODE_BAD_ACCESS", Is<BadAccessException>()},
    {5, "ORNA_RETURN_CODE_BAD_ALLOC", Is<BadAllocException>()},
    {6, "ORNA_RETURN_CODE_BUFFER_TOO_SMALL", Is<InternalErrorException>()},
    {7, "ORNA_RETURN_CODE_INVALID_ADDRESS", Is<InvalidAddressException>()},
    {8, "ORNA_RETURN_CODE_INVALID_ARGUMENT", Is<InvalidArgumentException>()},
    {9, "ORNA_RETURN_CODE_INVALID_CAST", Is<InvalidCastException>()},
    {10, "ORNA_RETURN_CODE_INVALID_HANDLE", Is<InvalidInstanceException>()},
    {11, "ORNA_RETURN_CODE_NOT_FOUND", Is<NotFoundException>()},
    {12, "ORNA_RETURN_CODE_OUT_OF_RANGE", Is<OutOfRangeException>()},
    {13, "ORNA_RETURN_CODE_TIMEOUT", Is<TimeoutException>()},
    {14, "ORNA_RETURN_CODE_NOT_AVAILABLE", Is<NotAvailableException>()},
    {15, "ORNA_RETURN_CODE_NOT_IMPLEMENTED", Is<NotImplementedException>()},
    {16, "ORNA_RETURN_CODE_CTI_LOADING_ERROR", Is<CTILoadingException>()},
    {17, "ORNA_RETURN_CODE_IO", Is<IOException>()},
};

TEST(ErrorTable, EveryCodeRaisesItsClassWithTheExactText)
{
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.code);
        try
        {
            Raise(row.code, "the text");
            FAIL() << "nothing raised";
        }
        catch (const Exception& e)
        {
            EXPECT_TRUE(row.isExpectedClass(e)) << typeid(e).name();
            EXPECT_EQ(std::string(e.what()),
                      "Error-Code: " + std::to_string(row.code) + " (" + row.name + ") | Error-Description: the text");
        }
    }
}

TEST(ErrorTable, SuccessRaisesNothingAndUnknownCodesHaveAnEmptyName)
{
    EXPECT_NO_THROW(CheckReturnCode(0, "fine"));
    EXPECT_EQ(ReturnCodeName(0), "ORNA_RETURN_CODE_SUCCESS");
    try
    {
        Raise(18, "later code");
        FAIL();
    }
    catch (const InternalErrorException& e)
    {
        EXPECT_STREQ(e.what(), "Error-Code: 18 () | Error-Description: later code");
    }
    EXPECT_THROW(Raise(-1, "negative"), InternalErrorException);
}

TEST(ErrorTable, EveryClassIsARuntimeErrorOfTheFamily)
{
    try
    {
        Raise(ReturnCode::Timeout, "t");
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_NE(dynamic_cast<const Exception*>(&e), nullptr);
    }
}

TEST(LastError, IsKeptPerThread)
{
    ClearLastError();
    EXPECT_THROW(Raise(ReturnCode::NotFound, "node X"), NotFoundException);
    int code = 0;
    std::string text;
    GetLastError(code, text);
    EXPECT_EQ(code, 11);
    EXPECT_EQ(text, "node X");

    std::thread other([] {
        int otherCode = -1;
        std::string otherText = "x";
        GetLastError(otherCode, otherText);
        EXPECT_EQ(otherCode, 0);
        EXPECT_TRUE(otherText.empty());
    });
    other.join();
}

TEST(NullArguments, CarryTheFixedTexts)
{
    int* none = nullptr;
    try
    {
        RequireNotNull(none, nullptr_text::Buffer);
        FAIL();
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ(e.what(), "The given buffer is a nullptr!");
    }
}

} // namespace
