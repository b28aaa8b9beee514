-- Balances are kept in euros: kunas of an item, until 2022, are converted at once. They are summed anew by the next
-- transaction that writes.
DELETE FROM par_saldo;
UPDATE par_saldo_do SET stavka_id = 0;
