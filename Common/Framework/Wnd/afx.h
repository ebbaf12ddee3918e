// The root of the framework's classes, and the record that each class has at run time. In use:
//
//     class CPanel : public CObject { DECLARE_DYNAMIC(CPanel) };
//     IMPLEMENT_DYNAMIC(CPanel, CObject)
//     CPanel panel;
//     LPCSTR lpszName = panel.GetRuntimeClass()->m_lpszClassName;
//     BOOL bPanel = panel.IsKindOf(RUNTIME_CLASS(CPanel));
#pragma once

#include <windows.h>

#define afx_msg

struct CRuntimeClass
{
    LPCSTR m_lpszClassName;
    int m_nObjectSize;
    const CRuntimeClass* m_pBaseClass;

    [[nodiscard]] BOOL IsDerivedFrom(const CRuntimeClass* pBaseClass) const;
};

class CObject
{
public:
    virtual ~CObject() = default;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;

    static CRuntimeClass classCObject;

    [[nodiscard]] virtual CRuntimeClass* GetRuntimeClass() const { return &classCObject; }

    [[nodiscard]] BOOL IsKindOf(const CRuntimeClass* pClass) const
    {
        return GetRuntimeClass()->IsDerivedFrom(pClass);
    }

protected:
    CObject() = default;
};

#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

#define DECLARE_DYNAMIC(class_name)                                                                          \
public:                                                                                                      \
    static CRuntimeClass class##class_name;                                                                  \
    CRuntimeClass* GetRuntimeClass() const override;

#define IMPLEMENT_DYNAMIC(class_name, base_class_name)                                                       \
    CRuntimeClass class_name::class##class_name = {#class_name, static_cast<int>(sizeof(class_name)),        \
                                                   RUNTIME_CLASS(base_class_name)};                          \
    CRuntimeClass* class_name::GetRuntimeClass() const                                                       \
    {                                                                                                        \
        return RUNTIME_CLASS(class_name);                                                                    \
    }
