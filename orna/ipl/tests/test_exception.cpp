#include "orna/ipl/exception.h"

#include <gtest/gtest.h>

#include <functional>
#include <typeinfo>

using namespace orna::ipl;

namespace {

struct Row
{
    int code;
    const char* name;
    std::function<bool(const Exception&)> isClass;
    const char* className;
};

template <typename T> bool Is(const Exception& e)
{
    return typeid(e) == typeid(T);
}

} // namespace

TEST(IplException, EveryRowOfTheCodeTableRaisesItsClassWithTheExactText)
{
    const Row rows[] = {
        {1, "ORNA_IPL_RETURN_CODE_ERROR", Is<Exception>, "Exception"},
        {2, "ORNA_IPL_RETURN_CODE_INVALID_HANDLE", Is<InvalidHandleException>, "InvalidHandleException"},
        {3, "ORNA_IPL_RETURN_CODE_IO_ERROR", Is<IOException>, "IOException"},
        {4, "ORNA_IPL_RETURN_CODE_BUFFER_TOO_SMALL", Is<BufferTooSmallException>, "BufferTooSmallException"},
        {5, "ORNA_IPL_RETURN_CODE_INVALID_ARGUMENT", Is<InvalidArgumentException>, "InvalidArgumentException"},
        {6, "ORNA_IPL_RETURN_CODE_OUT_OF_RANGE", Is<OutOfRangeException>, "OutOfRangeException"},
        {7, "ORNA_IPL_RETURN_CODE_IMAGE_FORMAT_NOT_SUPPORTED", Is<ImageFormatNotSupportedException>,
         "ImageFormatNotSupportedException"},
        {8, "ORNA_IPL_RETURN_CODE_FORMAT_INTERPRETATION_ERROR", Is<ImageFormatInterpretationException>,
         "ImageFormatInterpretationException"},
        {9, "", Is<Exception>, "Exception"},
        {10, "", Is<NotPermittedException>, "NotPermittedException"},
        {11, "", Is<BusyException>, "BusyException"},
        {12, "", Is<TimeoutException>, "TimeoutException"},
        {13, "", Is<Exception>, "Exception"},
        {-4, "", Is<Exception>, "Exception"},
        {1000, "", Is<Exception>, "Exception"},
    };
    for (const auto& row : rows)
    {
        SCOPED_TRACE(row.code);
        try
        {
            Raise(row.code, "something went wrong");
            FAIL() << "no exception";
        }
        catch (const Exception& e)
        {
            EXPECT_TRUE(row.isClass(e)) << "expected " << row.className << ", got " << typeid(e).name();
            EXPECT_EQ(std::string(e.what()), "[Error-Code: " + std::to_string(row.code) + " (" + row.name +
                                                 ") | Error-Description: something went wrong]");
            int code = 0;
            std::string text;
            GetLastError(code, text);
            EXPECT_EQ(code, row.code);
            EXPECT_EQ(text, "something went wrong");
        }
    }
}

TEST(IplException, FamilyDerivesFromRuntimeErrorAndSuccessIsNotRaisable)
{
    EXPECT_EQ(ReturnCodeName(0), "ORNA_IPL_RETURN_CODE_SUCCESS");
    EXPECT_THROW(Raise(ReturnCode::Timeout, "t"), std::runtime_error);
    try
    {
        Raise(0, "nothing");
        FAIL();
    }
    catch (const Exception& e)
    {
        EXPECT_EQ(typeid(e), typeid(Exception));
        EXPECT_NE(std::string(e.what()).find("[Error-Code: 1 (ORNA_IPL_RETURN_CODE_ERROR)"), std::string::npos);
    }
    ClearLastError();
    int code = -1;
    std::string text = "x";
    GetLastError(code, text);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(text.empty());
}
