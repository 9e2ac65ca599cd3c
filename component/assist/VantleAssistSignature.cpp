// Method signatures: a method's name, its arguments rendered from its formal argument list,
// and its return type, optionally split around the argument under the cursor.
#include "TreeRecords.h"
#include "VantleAssist.h"
#include "VantleAssistRecords.h"
#include "ServiceTexts.h"
#include "vantle/constants.h"

namespace {

void Append(utlWString& text, const CScanString& view) {
    if (!view.IsEmpty()) text.append(view.Begin(), view.End());
}

// A type, with its parameters re-joined: "%Text(SIZE=50)" stays as it is, "%Text()"
// loses its empty list. The last unit is taken to be the closing parenthesis.
void AppendType(utlWString& text, const CScanString& type) {
    const unsigned long length = type.Length();
    unsigned long open = 0;
    while (open < length && type[open] != '(') ++open;
    if (open == length) {
        Append(text, type);
        return;
    }
    text.append(type.Begin(), type.Begin() + open);
    // A '(' as the very last unit leaves no parameter text at all.
    if (open + 2 > length) return;
    CScanString parameters = type.Substr(open + 1, length - 2 - open);
    unsigned long position = 0;
    bool any = false;
    for (;;) {
        unsigned long next = 0;
        CScanString parameter = Tokenize(parameters, ',', position, &next);
        if (parameter.IsEmpty()) break;
        text.push_back(any ? ',' : '(');
        any = true;
        Append(text, parameter);
        if (next == CScanString::NPOS) break;
        position = next + 1;
    }
    if (any) text.push_back(')');
}

// Numbers, quoted strings and NULL are shown as written; anything else is an
// expression and is shown in braces.
void AppendDefault(utlWString& text, const CScanString& value) {
    if (value.IsNumber() || value.IsQuotedString() || value.UpperEqualsString(texts::kNull)) {
        text.append(texts::kEquals);
        Append(text, value);
        return;
    }
    text.append(texts::kEqualsBrace);
    Append(text, value);
    text.append(texts::kCloseBrace);
}

// One argument: [mode] name [: type] [= default].
void AppendArgument(utlWString& text, const CScanString& argument) {
    unsigned long from = 0;
    if (argument[0] == '&' || argument[0] == '.') {
        text.append(texts::kByRef);
        from = 1;
    } else if (argument[0] == '*') {
        text.append(texts::kOutput);
        from = 1;
    }
    CScanString name;
    CScanString type;
    CScanString defaultValue;
    unsigned long colon = 0;
    unsigned long equals = 0;
    CScanString beforeColon = Tokenize(argument, ':', from, &colon);
    if (colon != CScanString::NPOS) {
        name = beforeColon;
        CScanString rest = argument.Substr(colon + 1, CScanString::NPOS);
        type = Tokenize(rest, '=', 0, &equals);
        if (equals != CScanString::NPOS) defaultValue = rest.Substr(equals + 1, CScanString::NPOS);
    } else {
        name = Tokenize(argument, '=', from, &equals);
        if (equals != CScanString::NPOS) defaultValue = argument.Substr(equals + 1, CScanString::NPOS);
    }
    Append(text, name);
    if (!type.IsEmpty()) {
        text.append(texts::kAs);
        AppendType(text, type);
    }
    if (!defaultValue.IsEmpty()) AppendDefault(text, defaultValue);
}

// The whole signature; start and end bracket argument `argumentNumber` (mode word
// and default included, separating comma excluded) and stay 0 when there is none.
void Render(utlWString& text, CBSTR methodName, const utlAutoBSTR& returnType, const utlAutoBSTR& formalSpec,
            unsigned long argumentNumber, unsigned long& start, unsigned long& end) {
    text.append(methodName);
    text.append(texts::kOpenParen);
    CScanString arguments = CScanString(formalSpec.Get()).TrimParens();
    if (!arguments.IsEmpty()) {
        unsigned long counted = 0;
        unsigned long position = 0;
        for (;;) {
            unsigned long next = 0;
            CScanString argument = Tokenize(arguments, ',', position, &next);
            // An empty argument ends the list; what was rendered stays, a trailing
            // comma included.
            if (argument.IsEmpty()) break;
            ++counted;
            if (counted == argumentNumber) start = text.size();
            AppendArgument(text, argument);
            if (counted == argumentNumber) end = text.size();
            if (next == CScanString::NPOS) break;
            text.append(texts::kListEnd);
            position = next + 1;
        }
    }
    text.append(texts::kCloseParen);
    if (returnType.Length() > 0) {
        text.append(texts::kAs);
        text.append(returnType.Get(), returnType.Length());
    }
}

BSTR Slice(const utlWString& text, unsigned long from, unsigned long to) {
    return COM_SysAllocStringLen(text.data() + from, static_cast<unsigned int>(to - from));
}

}  // namespace

HRESULT CVantleAssistant::GetMethodSignature(CBSTR className, CBSTR methodName, unsigned long argumentNumber,
                                             BSTR* before, BSTR* current, BSTR* after) {
    if (before == nullptr) return E_POINTER;
    if (argumentNumber > 0 && (current == nullptr || after == nullptr)) return E_POINTER;
    *before = nullptr;
    if (current != nullptr) *current = nullptr;
    if (after != nullptr) *after = nullptr;

    utlWString signature;
    unsigned long start = 0;
    unsigned long end = 0;
    HRESULT hr = S_FALSE;
    if (className == nullptr || methodName == nullptr) {
        hr = E_POINTER;
    } else if (!m_pTNodeManager.IsNull()) {
        utlAutoBSTR normalized;
        utlNodeIf node;
        utlCollectionIf methods;
        if (SUCCEEDED(OpenClassNode(className, normalized, node))) {
            hr = node->OpenChildren(TNODEclassmethod, utlSignatureQuery().c_str(), m_includeInherited, &methods);
            if (SUCCEEDED(hr)) {
                // A walk that ends or fails without the method is no answer.
                utlAutoBSTR values;
                const utlMemberMatch match = utlFindMember(methods, utlMemberName(methodName), values);
                hr = S_FALSE;
                if (match.found) {
                    const utlSignatureRecord record(values);
                    Render(signature, methodName, record.returnType, record.formalSpec, argumentNumber, start, end);
                    hr = match.status;
                }
            }
        }
    }

    if (argumentNumber == 0) {
        *before = Slice(signature, 0, signature.size());
        return hr;
    }
    *before = Slice(signature, 0, start);
    *current = Slice(signature, start, end);
    *after = Slice(signature, end, signature.size());
    return hr;
}
