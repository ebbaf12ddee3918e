// The root of the framework's classes, and their run-time class records. In use:
//
//     class CPanel : public CObject { DECLARE_DYNCREATE(CPanel) };
//     IMPLEMENT_DYNCREATE(CPanel, CObject)
//     CObject* pObject = RUNTIME_CLASS(CPanel)->CreateObject();
//     BOOL bPanel = pObject->IsKindOf(RUNTIME_CLASS(CPanel));
//     delete pObject;
#pragma once

#include <windows.h>

#define afx_msg
#define AFXAPI __stdcall

class CObject;

// One record a class, chained to its base's.
struct CRuntimeClass
{
    LPCSTR m_lpszClassName;
    int m_nObjectSize;
    CObject* (*m_pfnCreateObject)(); // null: the class cannot be made by its record
    const CRuntimeClass* m_pBaseClass;

    // A new object, the caller's to delete; null if the class does not allow it.
    [[nodiscard]] CObject* CreateObject() const;
    [[nodiscard]] BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;
};

class CObject
{
public:
    virtual ~CObject() = default;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    [[nodiscard]] virtual CRuntimeClass* GetRuntimeClass() const;
    [[nodiscard]] BOOL IsKindOf(const CRuntimeClass* pClass) const;

    static CRuntimeClass classCObject;

protected:
    CObject() = default;
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

#define DECLARE_DYNAMIC(class_name)                                                                          \
public:                                                                                                      \
    static CRuntimeClass class##class_name;                                                                  \
    CRuntimeClass* GetRuntimeClass() const override;

#define DECLARE_DYNCREATE(class_name)                                                                        \
    DECLARE_DYNAMIC(class_name)                                                                              \
    static CObject* CreateObject();

#define AFX_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, pfnCreate)                                   \
    CRuntimeClass class_name::class##class_name = {#class_name, static_cast<int>(sizeof(class_name)),        \
                                                   pfnCreate, RUNTIME_CLASS(base_class_name)};               \
    CRuntimeClass* class_name::GetRuntimeClass() const                                                       \
    {                                                                                                        \
        return RUNTIME_CLASS(class_name);                                                                    \
    }

#define IMPLEMENT_DYNAMIC(class_name, base_class_name)                                                       \
    AFX_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, nullptr)

#define IMPLEMENT_DYNCREATE(class_name, base_class_name)                                                     \
    CObject* class_name::CreateObject()                                                                      \
    {                                                                                                        \
        return new class_name;                                                                               \
    }                                                                                                        \
    AFX_IMPLEMENT_RUNTIMECLASS(class_name, base_class_name, &class_name::CreateObject)
