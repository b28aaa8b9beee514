-- The template that a mail was asked for with: its text, and the file that it stood in, whose folder has its pictures; null
-- where none was named.
ALTER TABLE posta ADD COLUMN predlozak TEXT;
ALTER TABLE posta ADD COLUMN predlozak_datoteka VARCHAR(4096);

-- What the user was told before a sending and agreed to: the state of the mail where it did not wait, and stornirano where
-- its document had been cancelled.
ALTER TABLE posta_slanja ADD COLUMN potvrdeno VARCHAR(30);
