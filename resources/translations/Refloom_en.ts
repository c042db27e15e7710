<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="%@ Updater">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Updater">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Uninstall will remove all external Refloom components from your computer.  Are you sure you want to do this?">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="No">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Yes">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Uninstall will remove Refloom Margina from your computer.  Are you sure you want to do this?">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Select your Microsoft Word startup folder">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Please locate your installed copy of Microsoft Word">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The %@ could not find Microsoft Word 2016 nor 2019 installed on this computer.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The %@ will install the Margina add-in for the instance of Microsoft Word 2016 or 2019 installed on this computer.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The %@ will install the Margina add-in for the %d instances of Microsoft Word 2016 or 2019 installed on this computer.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Back">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Next">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Welcome">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Install Type">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Read Me">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="License">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Customization">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Updating System">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Summary">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Finding Refloom">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Found Refloom">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Welcome to %@">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Select Installation Type">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="End User License Agreement">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Select Components">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Thank you for using %@">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Finish">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Uninstall %@">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Welcome to %@ Update">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Margina for Microsoft Word">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="%@ Configuration">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Looking for the copies of Refloom and Microsoft Word on this computer...">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="This update brings every copy of Refloom 2025 on this computer to the latest version.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Tick the components to install; untick the ones to remove.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Updating...">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Microsoft Word is running. Please quit Word, then go on to try again.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Choose where to install the Spotlight importer and the Services helper.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The updater will look for the copies of Refloom 2025 on this computer and update each one you choose.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Done">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Exit">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The item you picked does not seem to be in a Microsoft Word installation directory.  Please try again.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="OK">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="If you have configured Word to use a different Startup Folder, Or you are using a non-English Language version of Word, Click 'Set' to set the Startup Folder location.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Set">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Uninstall Margina components from the selected folder, immediately?">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Cancel">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Uninstall">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The update has finished. What became of each copy:">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Nothing was updated.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The uninstall has finished. What became of each component:">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The add-in install has finished:">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The add-in uninstall has finished:">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="  Please answer with one of: %@">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Component">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Installed">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Description">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Installed: %1">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Not installed: %1 (nothing in this program installs it)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Not installed: %1 (the log says why)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Removed: %1">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Not removed: %1 (nothing in this program removes it)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Not removed: %1 (the log says why)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Nothing was changed.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="the Margina add-in for Word">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="the Fernwick Extension">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Word">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Startup folder">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Version">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="the patch tool was not run as this update expects">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="this update's patch is missing or damaged">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="this update's patch is not signed by its maker">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="this update's patch is of a newer format">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="a link stands where the update would write">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="it has been changed since it was installed; reinstall it, then update">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="a file of the update does not match; nothing was changed">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="the patch could not be applied; the copy was put back as it was">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="it is already up to date">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="the patch tool ended with status %@">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Updated: %1 (%2 -> %3)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Already up to date: %1 (%2)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Left as it was (the answer was No): %1">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Cannot be updated: %1: %2">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Not updated: %1: %2">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="Left as it was (the run ended before it was offered): %1">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="%1 of %2">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="administrator rights were refused (%@)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="the patch could not be run with administrator rights (status %@)">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="No copy of Refloom 2025 was found on this computer.">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The log of every step: %@">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The customization has finished. What became of each component you changed:">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="The installation has finished. What became of each component:">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="
A copy of Refloom was found at the following location:

%@

Would you like to update this copy?
">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
    <message id="
An error occurred while attempting to update a copy of Refloom at this location:

%@

Would you like to try again?
">
        <source></source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>Customizer</name>
    <message>
        <source>Refloom 2025.3 Updater</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Looking for the copies of Refloom and Microsoft Word on this computer. This takes a moment.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This installer puts Refloom&apos;s components in place: the Margina add-in for Microsoft Word, the Spotlight importer, the Services helper, content files and the Fernwick Extension for Google Chrome.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose how to install.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Locate Microsoft Word…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doChoose:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Startup Folders…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doGoCustom:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>I agree</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>agreeChangeAgree:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>I do not agree</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>agreeChangeDisagree:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tick the components to install; untick the ones to remove.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Uninstall All…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doUninstall:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Everything Refloom installed outside the application will be removed.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Updating…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install the Spotlight importer:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>For me</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>For all users</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install the Services helper:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This update brings every copy of Refloom 2025 on this computer to the latest version. It looks for the copies, asks you about each one, and updates the ones you choose.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Word&apos;s startup folders: the add-in goes into each. Add a copy of Word, change its folder, or take the add-in out of one.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>+</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doACplus:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>−</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doACminus:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doACchange:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reset</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>doACReset:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install the Margina add-in for the web edition of Refloom, or remove it.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Uninstall</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>showHelp:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Esc</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>cancel:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Back</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>back:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Next</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>next:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The uninstall has finished. What became of each component:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Microsoft Word is running. Please quit Word, then click Next to try again.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The update has finished. What became of each copy:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show the Log</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>showLog:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Nothing was updated.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The add-in install has finished:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The add-in uninstall has finished:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The customization has finished. What became of each component you changed:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The installation has finished. What became of each component:</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>rfPanel</name>
    <message>
        <source>Updater</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OK</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
