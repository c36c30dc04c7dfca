// SPDX-License-Identifier: MIT
#pragma once

#include "Widget/WidgetFamily.h"

#include <QString>

#include <algorithm>
#include <array>
#include <string_view>

class QCoreApplication;

namespace quelm::host {

// The texts of the host's own chrome (menus, sheets, the gallery, error notices). Like the
// widget's texts, each key is its Brazilian Portuguese text; the translations live in the same
// Qt Linguist files, in a context of their own so the widget's table stays exactly its keys.
namespace HostTexts {

inline constexpr std::string_view context = "QuelmHost";

inline constexpr std::string_view edit = "Editar widget";
inline constexpr std::string_view size = "Tamanho";
inline constexpr std::string_view remove = "Remover widget";
inline constexpr std::string_view add = "Adicionar widget…";
inline constexpr std::string_view gallery = "Galeria de widgets";
inline constexpr std::string_view done = "Concluído";
inline constexpr std::string_view small = "Pequeno";
inline constexpr std::string_view medium = "Médio";
inline constexpr std::string_view large = "Grande";
inline constexpr std::string_view extraLarge = "Extragrande";
inline constexpr std::string_view requestFailed = "Não foi possível enviar o pedido.";
inline constexpr std::string_view quit = "Sair";

inline constexpr std::array all { edit, size, remove, add, gallery, done, small, medium, large, extraLarge, requestFailed, quit };

constexpr bool contains(std::string_view key)
{
    return std::find(all.begin(), all.end(), key) != all.end();
}

}

// A host text in the user's language (the translation installed by installTranslation), or the
// key itself.
QString hostText(std::string_view key);
// The name of a widget size, as the menus and the gallery show it.
QString familyDisplayName(WidgetFamily);
// One of the widget's own texts ("Ordenar por", the sort orders' display texts, the widget's
// name and description) in the user's language.
QString widgetText(std::string_view key);

// Loads quelm_<language>.qm for the user's language (LC_ALL, LC_MESSAGES, LANG) from the
// installed translations folder, the one beside the program (../share/quelm/translations) or the
// built-in resource, and installs it into the application; the base texts stay when there is none.
// Returns whether a translation was installed.
bool installTranslation(QCoreApplication&);

}
