// SPDX-License-Identifier: MIT
#import <AppKit/AppKit.h>

#include "Uninstaller/appkit/FrontEnd.h"
#include "Uninstaller/appkit/MainInterface.h"
#include "Uninstaller/appkit/PlanView.h"
#include "Uninstaller/appkit/Text.h"

using qm::appkit::frontEnd;

/// The controller of "What will be moved" in the interface file. It supplies the lines of the list, and receives the
/// actions of the two controls that change the list.
@interface QMPlanController : NSObject <NSTableViewDataSource> {
  IBOutlet NSView* area;
  IBOutlet NSTableView* list;
  IBOutlet NSTextField* summary;
}
- (IBAction)togglePlan:(id)sender;
- (IBAction)removeConfigChanged:(id)sender;
@end

@implementation QMPlanController

- (void)awakeFromNib {
  if (!frontEnd().plan) frontEnd().plan = std::make_unique<qm::appkit::PlanView>(area, list, summary);
}

- (IBAction)togglePlan:(id)sender {
  if (!frontEnd().interface->takesActions()) return;
  frontEnd().plan->open([sender state] == NSControlStateValueOn);
}

- (IBAction)removeConfigChanged:(id)sender {
  if (!frontEnd().interface->takesActions()) return;
  frontEnd().interface->followChoices();
  frontEnd().plan->setRemoveConfig([sender state] == NSControlStateValueOn ? RemoveConfig::Yes : RemoveConfig::No);
}

- (NSInteger)numberOfRowsInTableView:(NSTableView*)table {
  return frontEnd().plan ? static_cast<NSInteger>(frontEnd().plan->rows().size()) : 0;
}

- (id)tableView:(NSTableView*)table objectValueForTableColumn:(NSTableColumn*)column row:(NSInteger)row {
  const PreviewRow& shown = frontEnd().plan->rows().at(static_cast<std::size_t>(row));
  return qm::appkit::textOf([[column identifier] isEqual:@"path"] ? shown.path : shown.size);
}

@end
