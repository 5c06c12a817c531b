// Late-bound calls that a script cannot make, or not so exactly; client.vbs makes the others.

#include "windows/plugin.h"

#include <vector>

namespace kx3::test {
namespace {

constexpr DISPID idBuflg = 0x40030000, idRun = 0x60030000, idWarn = 0x60030001, idAttach = 0x60030004,
                 idDefaults = 0x60030007;

VARIANTARG reference(VARTYPE type, void *variable) {
    VARIANTARG made{};
    V_VT(&made) = static_cast<VARTYPE>(VT_BYREF | type);
    V_BYREF(&made) = variable;
    return made;
}

class LateBound : public Plugin {
  protected:
    HRESULT invoke(DISPID member, WORD flags, std::vector<VARIANTARG> arguments = {}, std::vector<DISPID> named = {}) {
        DISPPARAMS parameters{arguments.data(), named.data(), static_cast<UINT>(arguments.size()),
                              static_cast<UINT>(named.size())};
        EXCEPINFO exception{};
        const HRESULT status =
            mpu->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, nullptr, &exception, nullptr);
        const com::Bstr source(exception.bstrSource), text(exception.bstrDescription);
        scode = exception.scode;
        told = std::wstring(source ? source.get() : L"") + L": " + (text ? text.get() : L"");
        return status;
    }
    HRESULT call(DISPID member, VARIANTARG argument) { return invoke(member, DISPATCH_METHOD, {argument}); }

    SCODE scode = 0;
    std::wstring told; ///< source and description of a failed call
};

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
    VARIANT unchanged = value(VT_I4, 7); // becomes True on the way in
    EXPECT_EQ(call(idRun, reference(VT_VARIANT, &unchanged)), S_OK);
    EXPECT_EQ(V_VT(&unchanged), VT_I4);
    EXPECT_EQ(V_I4(&unchanged), 7);
}

TEST_F(LateBound, FailingCallGivesBackWhatItHasChanged) {
    const HostBlock language("tamselLanguage21", 40);
    language.at<Long>(0) = 1; // which has no texts
    ASSERT_EQ(call(idAttach, value(VT_I2, 21)), S_OK);
    VARIANT masked = value(VT_I2, 0x80 + 75);
    EXPECT_EQ(call(idWarn, reference(VT_VARIANT, &masked)), DISP_E_EXCEPTION);
    EXPECT_EQ(scode, static_cast<SCODE>(0x800A0146));
    EXPECT_EQ(told, L"kx3mpu6.clsMPU: Resource with identifier '1096' not found");
    EXPECT_EQ(V_I2(&masked), 75);
    DISPPARAMS parameters{&masked, nullptr, 1, 0};
    EXPECT_EQ(mpu->Invoke(idWarn, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr),
              DISP_E_EXCEPTION);
    EXPECT_EQ(takeErrorText(), told.substr(16)) << "without a place for it the error object stays";
}

TEST_F(LateBound, BadCallsAreRefusedWithTheCulpritsName) {
    VARIANTARG unknown = value(VT_UNKNOWN, 0);
    const VARIANTARG missing = value(VT_ERROR, DISP_E_PARAMNOTFOUND);
    VARIANT inner = reference(VT_VARIANT, &unknown);
    BSTR typedText = nullptr;
    const struct {
        DISPID member;
        std::vector<VARIANTARG> arguments;
        HRESULT status;
        const wchar_t *text = L"";
        WORD flags = DISPATCH_METHOD;
        std::vector<DISPID> named = {};
    } cases[] = {
        {idWarn, {value(VT_I2, -1)}, DISP_E_OVERFLOW, L"mpu6warn: no: Overflow"},
        {idAttach, {unknown}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {reference(VT_BSTR, &typedText)}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {reference(VT_VARIANT, &inner)}, DISP_E_TYPEMISMATCH, L"bufcommpu6: num: Type mismatch"},
        {idAttach, {missing}, DISP_E_PARAMNOTOPTIONAL, L"bufcommpu6: num: Argument not optional"},
        {idAttach, {reference(VT_I2, nullptr)}, E_POINTER, L"bufcommpu6: num: Invalid procedure call or argument"},
        {idAttach, {reference(VT_VARIANT, nullptr)}, E_POINTER, L"bufcommpu6: num: Invalid procedure call or argument"},
        {idAttach, {missing, missing}, DISP_E_BADPARAMCOUNT, L"bufcommpu6: Wrong number of arguments"},
        {idDefaults, {missing}, DISP_E_BADPARAMCOUNT, L"sinitmpu6: Wrong number of arguments"},
        {idAttach, {missing}, DISP_E_PARAMNOTFOUND, L"bufcommpu6: Named argument not found", DISPATCH_METHOD, {1}},
        {idBuflg, {missing}, DISP_E_PARAMNOTFOUND, L"buflg: Named argument not found", DISPATCH_PROPERTYPUT},
        {idBuflg,
         {unknown},
         DISP_E_TYPEMISMATCH,
         L"buflg: buflg: Type mismatch",
         DISPATCH_PROPERTYPUT,
         {DISPID_PROPERTYPUT}},
        {0x60030003, {}, DISP_E_MEMBERNOTFOUND},
        {0x60000001, {}, DISP_E_MEMBERNOTFOUND}, // AddRef
        {idDefaults, {}, DISP_E_MEMBERNOTFOUND, L"", DISPATCH_PROPERTYGET},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(invoke(c.member, c.flags, c.arguments, c.named), c.status);
        EXPECT_EQ(takeErrorText(), c.text);
    }
    EXPECT_FALSE(blockExists("tamselalgobuf21")) << "no call was made";
}

TEST_F(LateBound, NamesOfMembersAndArguments) {
    const struct {
        std::vector<const wchar_t *> names;
        std::vector<DISPID> identifiers;
    } cases[] = {
        {{L"BUFCOMMPU6", L"num"}, {idAttach, 0}},
        {{L"AddRef"}, {DISPID_UNKNOWN}},
        {{L"buflg", L"value"}, {idBuflg, DISPID_UNKNOWN}},
        {{L"sinitmpu6", L"num"}, {idDefaults, DISPID_UNKNOWN}},
    };
    for (const auto &c : cases) {
        std::vector<DISPID> found(c.names.size());
        const HRESULT status = mpu->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR *>(c.names.data()),
                                                  static_cast<UINT>(c.names.size()), 0, found.data());
        EXPECT_EQ(found, c.identifiers);
        EXPECT_EQ(status, found.back() == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK);
    }
    EXPECT_EQ(invoke(idAttach, DISPATCH_METHOD, {value(VT_I2, 21)}, {0}), S_OK);
}

} // namespace
} // namespace kx3::test
