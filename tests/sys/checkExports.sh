#!/usr/bin/env bash
# Checks the dynamic symbols of the runtime and the component against their binary
# contract: every contract name must be exported, and nothing else may be.
#   checkExports.sh path/to/libkestocom.so path/to/libvantleassist.so
# C++ names are compared demangled. A required name ending in "(" matches any
# exported name that starts with it (one overload, whatever its parameters).
# AddressSanitizer adds an __odr_asan marker beside each exported C++ variable;
# those are instrumentation, not exports of ours, and are let through.
set -u

if [ $# -ne 2 ]; then
  echo "usage: $0 libkestocom.so libvantleassist.so" >&2
  exit 2
fi
runtime_library=$1
component_library=$2

failures=0

exported_names() {
  # "value type name": keep the name, which may contain blanks once demangled.
  nm -D --defined-only -C "$1" | sed -E 's/^[0-9a-fA-F]* +[A-Za-z] +//' | sort -u
}

# check LIBRARY REQUIRED_NAMES ALLOWED_PATTERNS (names and patterns one per line)
check() {
  local library=$1 required=$2 allowed=$3 names name missing=0 unexpected
  if [ ! -f "$library" ]; then
    echo "FAIL: $library does not exist"
    failures=$((failures + 1))
    return
  fi
  names=$(exported_names "$library")
  while IFS= read -r name; do
    [ -z "$name" ] && continue
    if [[ $name == *"(" ]]; then
      awk -v prefix="$name" 'index($0, prefix) == 1 { found = 1 } END { exit !found }' <<<"$names" && continue
    else
      grep -Fxq -- "$name" <<<"$names" && continue
    fi
    echo "MISSING from $(basename "$library"): $name"
    missing=$((missing + 1))
  done <<<"$required"
  unexpected=$(grep -Ev -f <(grep -v '^$' <<<"$allowed") <<<"$names")
  if [ -n "$unexpected" ]; then
    while IFS= read -r name; do echo "UNEXPECTED in $(basename "$library"): $name"; done <<<"$unexpected"
  fi
  if [ "$missing" -ne 0 ] || [ -n "$unexpected" ]; then
    failures=$((failures + 1))
  else
    echo "ok: $(basename "$library") exports exactly its contract ($(wc -l <<<"$names") names)"
  fi
}

runtime_required="
COM_SysAllocString
COM_SysAllocStringLen
COM_SysReAllocString
COM_SysStringLen
COM_SysFreeString
COM_CreateInstance
COM_CLSIDToString
COM_StringToCLSID
COM_IID_IUnknown
COM_IID_IClassFactory
COM_CLSID_Registry
COM_IID_IRegistry
COM_IID_IRegistryEnum
COM_CLSID_CategoryManager
COM_IID_ICatRegister
COM_CLSID_TNodeManager
COM_IID_ITNodeManager
COM_IID_ITNodeElement
COM_IID_IClassCache
COM_IID_ISchemaCache
COM_IID_IExtrinsicCache
COM_IID_IMacroCache
COM_IID_IStringCollection
COM_IID_IMemory
KESTO_FaultInjectStrings
KESTO_FaultInjectedFailures
KESTO_LiveStringCount
"
runtime_allowed="
^__odr_asan[._]
^COM_[A-Za-z0-9_]+$
^KESTO_[A-Za-z0-9_]+$
"

string_type="std::__cxx11::basic_string<unsigned short, std::char_traits<unsigned short>, std::allocator<unsigned short> >"
stream_type="std::basic_ostream<unsigned short, std::char_traits<unsigned short> >"

component_required="
GetClassObject
CanUnloadNow
DllRegisterServer
DllUnregisterServer
InterfaceTableQueryInterface
GetObjectMap
COM_RegisterExitHandler
g_theModule
COM_CComModule::GetModuleName(unsigned short**)
COM_CComModule::GetModulePath(unsigned short**)
COM_CLSID_VantleAssist
COM_IID_IVantleAssist
COM_IID_IVantleAssistEx
COM_IID_IVantleAssist2
COM_IID_IVantleAssist3
$(for i in $(seq -w 1 24); do echo "S_A_String00$i"; done)
TNODEclassclass
TNODEclassmethod
TNODEclassproperty
TNODEclassparameter
XXXXname
XXXXorigin
XXXXsignature
XXXXdescription
XXXXtype
XXXXid
XXXXfinal
CLASSclasstype
METHclassmethod
METHinternal
METHformalspec
METHprivate
METHreturntype
PROPinternal
PROPcardinality
PROPcollection
PROPprivate
PROPrelationship
ParseString0052
sysExceptionCOMException
sysExceptionRANGEException
sysExceptionMEMORYException
sysExceptionSYSTEMException
sysExceptionUNKNOWNException
sysExceptionDELIM
StringErrorText_COM_TNODE_E_PROTOCOL
StringErrorText_COM_REGDB_E_READREGDB
StringErrorText_COM_REGDB_E_WRITEREGDB
StringErrorText_COM_REGDB_E_KEYMISSING
StringErrorText_COM_REGDB_E_INVALIDVALUE
StringErrorText_COM_PROVIDER_E_CANNOTSPAWNCHILD
StringErrorText_COM_PROVIDER_E_ERRORINSPAWNEDCHILD
StringErrorText_COM_PROVIDER_E_SERVERERROR
StringErrorText_COM_PROVIDER_E_XMLHTTPREQUESTERROR
StringErrorText_COM_PROVIDER_E_PROTOCOLVERSIONERROR
StringErrorText_COM_PROVIDER_E_DATAFORMATERROR
StringErrorText_COM_E_SSH_NOTCONNECTED
StringErrorText_COM_E_SSH_HOSTKEYMISMATCH
StringErrorText_COM_E_SSH_INVALIDHOSTNAME
StringErrorText_COM_E_SSH_CONNECTTIMEDOUT
StringErrorText_COM_E_SSH_CONNECTED
StringErrorText_COM_E_SSH_NOSESSION
COM_HRESULT_Expansion[abi:cxx11](int)
a2w(char const*, unsigned long, int)
operator<<($stream_type&, CRtException const&)
vtable for CRtException
typeinfo for CRtException
CRtException::~CRtException()
$(for c in CRtSystemException CRtComException CRtMemoryException CRtRangeException; do
    echo "vtable for $c"
    echo "typeinfo for $c"
    echo "$c::~$c()"
    echo "$c::GenerateDetails($stream_type&) const"
  done)
CRtSystemException::SystemError() const
CScanString::NPOS
CScanString::EMPTY
CScanString::SPACE
CScanString::s_pAllocator
CScanString::CScanString($string_type const&)
CScanString::CScanString(unsigned short const*)
CScanString::SetAllocator(COM_IMemory*)
CScanString::GetAllocator()
CScanString::IsQuotedString() const
CScanString::ContainsUnicode() const
CScanString::Find(
CScanString::Substr(
CScanString::TrimQuote() const
CScanString::TrimQuotes() const
CScanString::TrimParens() const
CScanString::TrimBlanks() const
CScanString::Contains(unsigned short) const
CScanString::UpperEqualsString(CScanString const&) const
CScanString::UpperEqualsString(unsigned short const*) const
CScanString::IsNumber() const
CScanString::IsClassName() const
CScanString::IsIdentifier() const
CScanString::AsInteger(
CScanString::AsBoolean(
CScanString::AsBSTR() const
CScanString::AsCString() const
CScanString::AsNormalizedString[abi:cxx11]() const
CScanString::AsQuotedString[abi:cxx11]() const
CScanString::AsNumber(
operator==(CScanString const&, CScanString const&)
operator==(CScanString const&, unsigned short const*)
operator<(CScanString const&, CScanString const&)
"
component_allowed="
^__odr_asan[._]
^(GetClassObject|CanUnloadNow|DllRegisterServer|DllUnregisterServer|InterfaceTableQueryInterface|GetObjectMap|COM_RegisterExitHandler|g_theModule|ParseString0052)$
^COM_CLSID_VantleAssist$
^COM_IID_IVantleAssist(Ex|2|3)?$
^S_A_String00(0[1-9]|1[0-9]|2[0-4])$
^(TNODEclass(class|method|property|parameter)|XXXX(name|origin|signature|description|type|id|final))$
^(CLASSclasstype|METH(classmethod|internal|formalspec|private|returntype)|PROP(internal|cardinality|collection|private|relationship))$
^sysException(COMException|RANGEException|MEMORYException|SYSTEMException|UNKNOWNException|DELIM)$
^StringErrorText_COM_[A-Z_]+$
^COM_CComModule::[A-Za-z]+\(
^COM_HRESULT_Expansion\[abi:cxx11\]\(int\)$
^a2w\(char const\*, unsigned long, int\)$
^operator<<\(std::basic_ostream<unsigned short, std::char_traits<unsigned short> >&, CRtException const&\)$
^((vtable|typeinfo|typeinfo name) for )?CRt(System|Com|Memory|Range)?Exception(::|$)
^((typeinfo|typeinfo name) for )?CScanString(::|$)
^operator(==|<)\(CScanString const&
^((typeinfo|typeinfo name) for )?utlAutoIfBase(::XBadPtrException)?$
"

check "$runtime_library" "$runtime_required" "$runtime_allowed"
check "$component_library" "$component_required" "$component_allowed"

if [ "$failures" -ne 0 ]; then
  echo "export check failed for $failures librar$([ "$failures" -eq 1 ] && echo y || echo ies)"
  exit 1
fi
