// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace quelm::LocalizationKeys {

// The Qt Linguist context that holds every widget text (i18n/quelm_<lang>.ts).
inline constexpr std::string_view context = "Quelm";

// Every user-visible text of the widget: configuration, intent, widget, views and rows. Each key is its
// Brazilian Portuguese text, which is also the base text shown when no translation applies.
// "%lld" stands for an integer (LocalizedText::format); "…" is the single character U+2026.
inline constexpr std::array all = std::to_array<std::string_view>({
    // the widget's declaration.
    "Quelm",
    "O que está rodando na sua máquina, com iniciar e parar.",
    // configuration and sort order.
    "Ordem",
    "Ordenar por",
    "Tipo de processo",
    "Iniciados por último",
    // the toggle intent.
    "Iniciar ou parar item",
    "Item",
    "Iniciar",
    // messages, header and sections.
    "Quelm está fechado",
    "Toque para abrir",
    "Sem acesso aos dados",
    "Reinstale o Quelm",
    "Nada rodando",
    "1 rodando",
    "%lld rodando",
    "Claude",
    "Grupos",
    "Itens",
    // rows.
    "Iniciando…",
    "Parando…",
    "Parado",
    "Grupo · %lld itens",
    "Grupo · tudo rodando",
    "Grupo · %lld de %lld",
    "trabalhando",
    "precisa de aprovação",
    "aguardando você",
    // the mark's accessibility label while items run.
    "Quelm, com itens rodando",
});

constexpr bool contains(std::string_view key)
{
    return std::find(all.begin(), all.end(), key) != all.end();
}

}
