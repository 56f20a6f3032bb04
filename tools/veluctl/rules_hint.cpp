// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/rules_hint.h"

#include <stdio.h>

#include "platform/own_group.h"
#include "platform/rule_set.h"

bool RulesHintPrint() {
    if (RuleSetConfigured() == RuleSet::complete)
        return false;
    printf("\nThe rules are those that the other programs of an appliance count on. By the\n"
           "rules \"complete\" more kinds of files have rows, and more is known of each. To\n"
           "switch, write the line rules=\"complete\" into /etc/veluinfo.conf, then\n"
           "  sudo systemctl restart veluindexd\n"
           "  sudo systemctl try-restart veluwatchd\n"
           "  sudo veluctl reindex all\n"
           "All files are read anew. Catalogues and covers are then for root and the group\n"
           "%s alone (files 0640, folders 0750): whatever else reads them, a person or a\n"
           "server, has to join it (sudo adduser NAME %s). rules=\"appliance\" leads back.\n",
           kOwnGroup, kOwnGroup);
    return true;
}
