// Calls as scripts and other late-bound hosts make them.

#include "windows/host.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

constexpr DISPID idBuflg = 0x40030000;
constexpr DISPID idRun = 0x60030000;
constexpr DISPID idWarn = 0x60030001;
constexpr DISPID idAttach = 0x60030004;
constexpr DISPID idDefaults = 0x60030007;

class LateBound : public ::testing::Test {
  protected:
    HRESULT invoke(DISPID member, WORD flags, std::vector<VARIANTARG> arguments = {}, std::vector<DISPID> named = {}) {
        DISPPARAMS parameters{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                              static_cast<UINT>(named.size())};
        exception = {};
        const HRESULT status =
            mpu->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, result.get(), &exception, nullptr);
        exceptionText = exception.bstrDescription == nullptr ? L"" : exception.bstrDescription;
        ::SysFreeString(exception.bstrDescription);
        ::SysFreeString(exception.bstrSource);
        return status;
    }
    HRESULT call(DISPID member, VARIANTARG argument) { return invoke(member, DISPATCH_METHOD, {argument}); }

    static VARIANTARG value(VARTYPE type, long long number) {
        VARIANTARG made{};
        V_VT(&made) = type;
        if (type == VT_R8)
            V_R8(&made) = static_cast<double>(number);
        else
            V_I8(&made) = number;
        return made;
    }
    static VARIANTARG reference(VARTYPE type, void *variable) {
        VARIANTARG made{};
        V_VT(&made) = static_cast<VARTYPE>(VT_BYREF | type);
        V_BYREF(&made) = variable;
        return made;
    }

    ComThread com;
    LoadedPlugin plugin;
    com::ComPtr<::_clsMPU> mpu = plugin.create();
    com::OwnedVariant result;
    EXCEPINFO exception{};
    std::wstring exceptionText;
};

TEST_F(LateBound, PropertiesAreReadAndWritten) {
    EXPECT_EQ(invoke(idBuflg, DISPATCH_PROPERTYPUT, {value(VT_R8, 70000)}, {DISPID_PROPERTYPUT}), S_OK);
    EXPECT_EQ(invoke(idBuflg, DISPATCH_METHOD | DISPATCH_PROPERTYGET), S_OK);
    EXPECT_EQ(V_VT(result.get()), VT_I4);
    EXPECT_EQ(V_I4(result.get()), 70000);
    EXPECT_EQ(invoke(0x40030001, DISPATCH_PROPERTYPUT, {value(VT_I2, 5)}, {DISPID_PROPERTYPUT}), S_OK);
    EXPECT_EQ(invoke(0x40030001, DISPATCH_PROPERTYGET), S_OK);
    EXPECT_EQ(V_VT(result.get()), VT_BOOL);
    EXPECT_EQ(V_BOOL(result.get()), VARIANT_TRUE);
}

TEST_F(LateBound, ChangedArgumentComesBackInTheCallersType) {
    ASSERT_EQ(call(idAttach, value(VT_I2, 21)), S_OK);
    for (const VARTYPE type : {VT_UI1, VT_I2, VT_I4, VT_R8, VT_BSTR}) {
        com::OwnedVariant variable;
        VARIANTARG typed = reference(type, &V_UI1(variable.get()));
        VARIANTARG arguments[] = {reference(VT_VARIANT, variable.get()), reference(VT_VARIANT, &typed), typed};
        for (std::size_t i = 0; i < (type == VT_BSTR ? 1 : std::size(arguments)); ++i) {
            VARIANT number = value(VT_I4, 0x85);
            ASSERT_EQ(::VariantChangeType(variable.get(), &number, 0, type), S_OK);
            EXPECT_EQ(call(idWarn, arguments[i]), S_OK);
            EXPECT_EQ(V_VT(variable.get()), type);
            ASSERT_EQ(::VariantChangeType(variable.get(), variable.get(), 0, VT_I4), S_OK);
            EXPECT_EQ(V_I4(variable.get()), 5) << "type " << type << ", argument " << i;
        }
    }
    EXPECT_EQ(call(idWarn, value(VT_I4, 0x85)), S_OK) << "a value goes nowhere back";
}

TEST_F(LateBound, FailingCallGivesBackWhatItHasChanged) {
    VARIANT masked = value(VT_I2, 0x80 + 63);
    EXPECT_EQ(call(idWarn, reference(VT_VARIANT, &masked)), DISP_E_EXCEPTION) << "nothing is attached";
    EXPECT_EQ(V_I2(&masked), 63);
    VARIANT unchanged = value(VT_I4, 7); // becomes True on the way in
    EXPECT_EQ(call(idRun, reference(VT_VARIANT, &unchanged)), DISP_E_EXCEPTION);
    EXPECT_EQ(V_VT(&unchanged), VT_I4);
    EXPECT_EQ(V_I4(&unchanged), 7);
}

TEST_F(LateBound, FailureCarriesStatusSourceAndText) {
    EXPECT_EQ(invoke(idDefaults, DISPATCH_METHOD), DISP_E_EXCEPTION);
    EXPECT_EQ(exception.scode, static_cast<SCODE>(0x800A0009));
    EXPECT_EQ(exceptionText, L"Subscript out of range");
    DISPPARAMS none{};
    EXPECT_EQ(mpu->Invoke(idDefaults, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              DISP_E_EXCEPTION);
    EXPECT_EQ(takeErrorText(), L"Subscript out of range") << "without a place for it the error object stays";
}

TEST_F(LateBound, BadCallsAreRefusedWithTheCulpritsName) {
    VARIANTARG unknown{};
    V_VT(&unknown) = VT_UNKNOWN;
    VARIANTARG missing{};
    V_VT(&missing) = VT_ERROR;
    V_ERROR(&missing) = DISP_E_PARAMNOTFOUND;
    VARIANTARG array{};
    V_VT(&array) = VT_ARRAY | VT_UI1;
    VARIANT inner = reference(VT_VARIANT, &unknown);
    BSTR typedText = nullptr;
    const struct {
        DISPID member;
        std::vector<VARIANTARG> arguments;
        HRESULT status;
        const wchar_t *text;
    } cases[] = {
        {idWarn, {value(VT_I2, 256)}, DISP_E_OVERFLOW, L"mpu6warn: no: Overflow"},
        {idWarn, {value(VT_I2, -1)}, DISP_E_OVERFLOW, L"mpu6warn: no: Overflow"},
        {idAttach, {value(VT_I4, 32768)}, DISP_E_OVERFLOW, L"bufcommpu6: num: Overflow"},
        {idAttach, {unknown}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {array}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {value(VT_NULL, 0)}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {reference(VT_BSTR, &typedText)}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {reference(VT_VARIANT, &inner)}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {missing}, DISP_E_PARAMNOTOPTIONAL, L"bufcommpu6: num: Argument not optional"},
        {idAttach, {reference(VT_I2, nullptr)}, E_POINTER, L"bufcommpu6: num: Invalid procedure call or argument"},
        {idAttach, {reference(VT_VARIANT, nullptr)}, E_POINTER, L"bufcommpu6: num: Invalid procedure call or argument"},
        {idAttach, {}, DISP_E_BADPARAMCOUNT, L"bufcommpu6: Wrong number of arguments"},
        {idAttach, {missing, missing}, DISP_E_BADPARAMCOUNT, L"bufcommpu6: Wrong number of arguments"},
        {idDefaults, {value(VT_I2, 1)}, DISP_E_BADPARAMCOUNT, L"sinitmpu6: Wrong number of arguments"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(invoke(c.member, DISPATCH_METHOD, c.arguments), c.status);
        EXPECT_EQ(takeErrorText(), c.text);
    }
    EXPECT_EQ(invoke(0x60030003, DISPATCH_METHOD), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(idDefaults, DISPATCH_PROPERTYGET), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(invoke(idBuflg, DISPATCH_PROPERTYPUTREF, {value(VT_I4, 1)}, {DISPID_PROPERTYPUT}), DISP_E_MEMBERNOTFOUND);
    DISPPARAMS none{};
    EXPECT_EQ(mpu->Invoke(idDefaults, IID_IUnknown, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
    EXPECT_FALSE(blockExists("tamselalgobuf21"));
}

TEST_F(LateBound, NamesOfMembersAndArguments) {
    const struct {
        std::vector<const wchar_t *> names;
        HRESULT status;
        std::vector<DISPID> identifiers;
    } cases[] = {
        {{L"bufcommpu6", L"num"}, S_OK, {idAttach, 0}},
        {{L"RUNMPU6PRG"}, S_OK, {idRun}},
        {{L"buflg"}, S_OK, {idBuflg}},
        {{L"absent"}, DISP_E_UNKNOWNNAME, {DISPID_UNKNOWN}},
        {{L"bufcommpu6", L"no"}, DISP_E_UNKNOWNNAME, {idAttach, DISPID_UNKNOWN}},
        {{L"sinitmpu6", L"num"}, DISP_E_UNKNOWNNAME, {idDefaults, DISPID_UNKNOWN}},
    };
    for (const auto &c : cases) {
        std::vector<DISPID> found(c.names.size());
        auto **names = const_cast<LPOLESTR *>(c.names.data());
        EXPECT_EQ(mpu->GetIDsOfNames(IID_NULL, names, static_cast<UINT>(c.names.size()), 0, found.data()), c.status);
        EXPECT_EQ(found, c.identifiers);
    }
    EXPECT_EQ(invoke(idAttach, DISPATCH_METHOD, {value(VT_I2, 21)}, {0}), S_OK);
    EXPECT_EQ(invoke(idAttach, DISPATCH_METHOD, {value(VT_I2, 21)}, {1}), DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(invoke(idBuflg, DISPATCH_PROPERTYPUT, {value(VT_I4, 1)}), DISP_E_PARAMNOTFOUND);
}

} // namespace
} // namespace kx3::test
