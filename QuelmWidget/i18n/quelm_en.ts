<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="pt_BR">
<context>
    <name>Quelm</name>
    <message>
        <source>Quelm</source>
        <translation>Quelm</translation>
    </message>
    <message>
        <source>O que está rodando na sua máquina, com iniciar e parar.</source>
        <translation>What is running on your machine, with start and stop.</translation>
    </message>
    <message>
        <source>Ordem</source>
        <translation>Order</translation>
    </message>
    <message>
        <source>Ordenar por</source>
        <translation>Sort by</translation>
    </message>
    <message>
        <source>Tipo de processo</source>
        <translation>Process type</translation>
    </message>
    <message>
        <source>Iniciados por último</source>
        <translation>Last started</translation>
    </message>
    <message>
        <source>Iniciar ou parar item</source>
        <translation>Start or stop item</translation>
    </message>
    <message>
        <source>Item</source>
        <translation>Item</translation>
    </message>
    <message>
        <source>Iniciar</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>Quelm está fechado</source>
        <translation>Quelm is closed</translation>
    </message>
    <message>
        <source>Toque para abrir</source>
        <translation>Click to open</translation>
    </message>
    <message>
        <source>Sem acesso aos dados</source>
        <translation>No access to data</translation>
    </message>
    <message>
        <source>Reinstale o Quelm</source>
        <translation>Reinstall Quelm</translation>
    </message>
    <message>
        <source>Nada rodando</source>
        <translation>Nothing running</translation>
    </message>
    <message>
        <source>1 rodando</source>
        <translation>1 running</translation>
    </message>
    <message>
        <source>%lld rodando</source>
        <translation>%lld running</translation>
    </message>
    <message>
        <source>Claude</source>
        <translation>Claude</translation>
    </message>
    <message>
        <source>Grupos</source>
        <translation>Groups</translation>
    </message>
    <message>
        <source>Itens</source>
        <translation>Items</translation>
    </message>
    <message>
        <source>Iniciando…</source>
        <translation>Starting…</translation>
    </message>
    <message>
        <source>Parando…</source>
        <translation>Stopping…</translation>
    </message>
    <message>
        <source>Parado</source>
        <translation>Stopped</translation>
    </message>
    <message numerus="yes">
        <source>Grupo · %lld itens</source>
        <translation>
            <numerusform>Group · %lld item</numerusform>
            <numerusform>Group · %lld items</numerusform>
        </translation>
    </message>
    <message>
        <source>Grupo · tudo rodando</source>
        <translation>Group · all running</translation>
    </message>
    <message>
        <source>Grupo · %lld de %lld</source>
        <translation>Group · %lld of %lld</translation>
    </message>
    <message>
        <source>trabalhando</source>
        <translation>working</translation>
    </message>
    <message>
        <source>precisa de aprovação</source>
        <translation>needs approval</translation>
    </message>
    <message>
        <source>aguardando você</source>
        <translation>waiting for you</translation>
    </message>
    <message>
        <source>Quelm, com itens rodando</source>
        <translation>Quelm, with items running</translation>
    </message>
</context>
<context>
    <name>QuelmHost</name>
    <message>
        <source>Editar widget</source>
        <translation>Edit widget</translation>
    </message>
    <message>
        <source>Tamanho</source>
        <translation>Size</translation>
    </message>
    <message>
        <source>Remover widget</source>
        <translation>Remove widget</translation>
    </message>
    <message>
        <source>Adicionar widget…</source>
        <translation>Add widget…</translation>
    </message>
    <message>
        <source>Galeria de widgets</source>
        <translation>Widget gallery</translation>
    </message>
    <message>
        <source>Concluído</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>Pequeno</source>
        <translation>Small</translation>
    </message>
    <message>
        <source>Médio</source>
        <translation>Medium</translation>
    </message>
    <message>
        <source>Grande</source>
        <translation>Large</translation>
    </message>
    <message>
        <source>Extragrande</source>
        <translation>Extra large</translation>
    </message>
    <message>
        <source>Não foi possível enviar o pedido.</source>
        <translation>Could not send the request.</translation>
    </message>
    <message>
        <source>Sair</source>
        <translation>Quit</translation>
    </message>
</context>
</TS>
