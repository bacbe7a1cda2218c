#include "ComStandIn.h"

#include <windows.h>
// The order matters.
#include <gtest/gtest.h>
#include <objbase.h>
#include <oleauto.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/Encoding.h"
#include "mail/engines/win32/ComMail.h"
#include "mail/engines/win32/ckZip.h"
#include "os/win32/Automation.h"
#include "os/win32/Win32Support.h"
#include "support/win32/CountedObject.h"

namespace ovs::standin {
namespace {

constexpr TextView kSchema = u"http://schemas.microsoft.com/cdo/configuration/";

// Members between blanks. Objects are properties that give an object of the class of that name.
struct ClassMembers {
  TextView name;
  TextView methods;
  TextView properties;
  TextView objects;
};

constexpr std::array kClasses = {
    ClassMembers{
        u"MailMan", u" UnlockComponent SendEmail ",
        u" SmtpHost SmtpPort SmtpUsername SmtpPassword SmtpLoginDomain SmtpSsl StartTLS StartTLSifPossible SslProtocol"
        u" SmtpAuthMethod AutoFix ConnectTimeout ReadTimeout RequireSslCertVerify VerboseLogging DebugLogFilePath"
        u" SmtpFailReason SmtpSessionLog LastErrorText LastSmtpStatus ",
        u""},
    ClassMembers{u"Email", u" AddTo AddCC AddBcc SetHtmlBody AddRelatedFile AddFileAttachment AddHeaderField ",
                 u" From ReplyTo Subject Body DebugLogFilePath ", u""},
    ClassMembers{u"Zip", u" UnlockComponent NewZip AppendOneFileOrDir WriteZipAndClose ", u" LastErrorText ", u""},
    ClassMembers{u"Message", u" AddAttachment AddRelatedBodyPart Send ",
                 u" To From ReplyTo Subject CC BCC TextBody HTMLBody ",
                 u" BodyPart TextBodyPart HTMLBodyPart Configuration "},
    ClassMembers{u"BodyPart", u"", u" Charset ", u""},
    ClassMembers{u"TextBodyPart", u"", u" Charset ", u""},
    ClassMembers{u"HTMLBodyPart", u"", u" Charset ", u""},
    ClassMembers{u"Configuration", u"", u"", u" Fields "},
    ClassMembers{u"Fields", u" Update ", u"", u" Item "},
    ClassMembers{u"Field", u"", u" Value Status ", u""},
};

const ClassMembers& SpecOf(TextView name) {
  const auto found = std::ranges::find(kClasses, name, &ClassMembers::name);
  return found == kClasses.end() ? kClasses.back() : *found;
}

bool Has(TextView members, TextView name) { return members.find(u" " + Text(name) + u" ") != TextView::npos; }

// Member ids are places in this list, the same for all classes.
std::vector<Text>& Names() {
  static std::vector<Text> names;
  return names;
}

Text Shown(const VARIANT& value) {
  switch (value.vt) {
    case VT_BSTR:
      return u"'" + FromWide({value.bstrVal, SysStringLen(value.bstrVal)}) + u"'";
    case VT_I4:
      return FromWide(std::to_wstring(value.lVal));
    case VT_BOOL:
      return value.boolVal != VARIANT_FALSE ? u"True" : u"False";
    case VT_DISPATCH:
      return u"(object)";
    default:
      return u"(type " + FromWide(std::to_wstring(value.vt)) + u")";
  }
}

Text ShownArguments(const DISPPARAMS& params) {
  Text text;
  for (UINT i = params.cArgs; i > 0; --i) text += Shown(params.rgvarg[i - 1]) + (i > 1 ? u", " : u"");
  return text;
}

}  // namespace

class Recorder final : public CountedDispatch {
 public:
  // The name shown differs from that of the class for fields alone.
  Recorder(ComStandIn& owner, Text name) : owner_(owner), name_(std::move(name)), spec_(SpecOf(name_)) { ++owner_.live_; }

  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) override {
    const Text member = FromWide(names[0]);
    const bool known = Has(spec_.methods, member) || Has(spec_.properties, member) || Has(spec_.objects, member);
    if (!known || owner_.missing.contains(Full(member))) return DISP_E_UNKNOWNNAME;
    const auto found = std::ranges::find(Names(), member);
    ids[0] = static_cast<DISPID>(found - Names().begin()) + 1;
    if (found == Names().end()) Names().push_back(member);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* params, VARIANT* result, EXCEPINFO* info,
                                   UINT*) override {
    const Text& member = Names().at(static_cast<std::size_t>(id - 1));
    if (Has(spec_.objects, member)) return GetObjectOf(member, kind, *params, result, info);
    if (Has(spec_.methods, member)) {
      if (kind != DISPATCH_METHOD) return DISP_E_MEMBERNOTFOUND;
      Note(member + u"(" + ShownArguments(*params) + u")");
    } else if (kind == DISPATCH_PROPERTYPUT) {
      const bool named = params->cNamedArgs == 1 && params->rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
      if (!named || params->cArgs != 1) return DISP_E_PARAMNOTFOUND;
      Note(member + u"=" + ShownArguments(*params));
    } else {
      if (kind != DISPATCH_PROPERTYGET || params->cArgs != 0) return DISP_E_MEMBERNOTFOUND;
      if (spec_.name == u"Field") Note(member);
    }
    return Respond(member, result, info);
  }

 private:
  ~Recorder() override { --owner_.live_; }
  Text Full(const Text& member) const { return name_ + u"." + member; }
  void Note(const Text& call) { owner_.journal_ += ToUtf8(name_ + u"." + call) + "; "; }

  HRESULT GetObjectOf(const Text& member, WORD kind, const DISPPARAMS& params, VARIANT* result, EXCEPINFO* info) {
    if ((kind & DISPATCH_PROPERTYGET) == 0) return DISP_E_MEMBERNOTFOUND;
    if (owner_.answers.contains(Full(member))) return Respond(member, result, info);
    Text name = member;
    if (member == u"Item") {
      if (params.cArgs != 1 || params.rgvarg[0].vt != VT_BSTR) return DISP_E_TYPEMISMATCH;
      name = FromWide(params.rgvarg[0].bstrVal);
      if (!name.starts_with(kSchema)) return DISP_E_BADINDEX;
      name.erase(0, kSchema.size());
    }
    result->vt = VT_DISPATCH;
    result->pdispVal = new Recorder(owner_, name);
    return S_OK;
  }

  HRESULT Respond(const Text& member, VARIANT* result, EXCEPINFO* info) {
    const auto order = owner_.answers.find(Full(member));
    if (order == owner_.answers.end()) {
      const bool givesText = member == u"AddRelatedFile" || member == u"AddFileAttachment";
      if (Has(spec_.methods, member)) return Give(givesText ? Answer(Text(u"text")) : Answer(1), result, info);
      return member == u"Status" ? Give(Answer(0), result, info) : S_OK;
    }
    const Answer answer = order->second.front();
    if (order->second.size() > 1) order->second.pop_front();
    return Give(answer, result, info);
  }

  static HRESULT Give(const Answer& answer, VARIANT* result, EXCEPINFO* info) {
    if (const auto* raise = std::get_if<Raise>(&answer)) {
      info->scode = raise->code;
      info->bstrDescription = SysAllocString(ToWide(raise->description).c_str());
      return DISP_E_EXCEPTION;
    }
    if (const auto* number = std::get_if<std::int32_t>(&answer)) {
      result->vt = VT_I4;
      result->lVal = *number;
    } else {
      result->vt = VT_BSTR;
      result->bstrVal = SysAllocString(ToWide(std::get<Text>(answer)).c_str());
    }
    return S_OK;
  }

  ComStandIn& owner_;
  const Text name_;
  const ClassMembers& spec_;
};

namespace {

class Factory final : public CountedObject<IClassFactory> {
 public:
  Factory(ComStandIn& owner, Text name) : owner_(owner), name_(std::move(name)) {}

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** out) override {
    auto* const made = new Recorder(owner_, name_);
    const HRESULT result = made->QueryInterface(iid, out);
    made->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  ComStandIn& owner_;
  const Text name_;
};

HKEY Root(bool forUser) { return forUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE; }

// True when the name then stands for the class. What a broken off test leaves behind is gone at the next start.
bool WriteKey(HKEY root, const std::wstring& key, TextView progId, const GUID& id) {
  std::array<wchar_t, 40> text{};
  const int length = StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
  HKEY made = nullptr;
  if (RegCreateKeyExW(root, (key + L"\\CLSID").c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE, nullptr, &made,
                      nullptr) != 0)
    return false;
  const auto bytes = static_cast<DWORD>(static_cast<std::size_t>(length) * sizeof(wchar_t));
  RegSetValueExW(made, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()), bytes);
  RegCloseKey(made);
  GUID found{};
  return CLSIDFromProgID(ToWide(progId).c_str(), &found) == S_OK && IsEqualGUID(found, id);
}

}  // namespace

void ComStandIn::Register(TextView progId, bool broken) {
  GUID id{};
  ASSERT_EQ(CoCreateGuid(&id), S_OK);
  Class& made = classes_.emplace_back();
  made.key = L"Software\\Classes\\" + ToWide(progId);
  if (!WriteKey(Root(true), made.key, progId, id)) {
    RegDeleteTreeW(Root(true), made.key.c_str());
    made.forUser = false;
    ASSERT_FALSE(win32::AutomationObject::IsRegistered(progId));
    ASSERT_TRUE(WriteKey(Root(false), made.key, progId, id));
  }
  if (broken) return;
  auto* const factory = new Factory(*this, Text(progId.substr(progId.rfind(u'.') + 1)));
  EXPECT_EQ(CoRegisterClassObject(id, factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &made.cookie), S_OK);
  factory->Release();
}

ComStandIn::~ComStandIn() {
  EXPECT_EQ(live_, 0) << "objects that nobody has released";
  for (const Class& each : classes_) {
    if (each.cookie != 0) CoRevokeClassObject(each.cookie);
    RegDeleteTreeW(Root(each.forUser), each.key.c_str());
  }
}

void ComStandIn::RegisterMailComponents() {
  for (const TextView each : {ChilkatMailer::kProgId, ChilkatMailer::kEmailProgId, ckZip::kProgId, CdoMailer::kProgId}) {
    Register(each);
  }
}

std::string ComStandIn::TakeJournal() { return std::exchange(journal_, {}); }

}  // namespace ovs::standin
